#include "server/requests/request_handler.h"

#include <new>
#include <string_view>
#include <utility>

#include <Poco/Exception.h>
#include <ace/Message_Block.h>

#include "messages/command_token.h"
#include "messages/session_records.h"
#include "messages/transaction_fields.h"
#include "messages/type_codes.h"
#include "server/log.h"
#include "util/split.h"
#include "util/text.h"

namespace CQXSERVER::requests {
namespace {

using CQXBASE::MessageHolder;
using CQXBASE::QXOneString;
using CQXBASE::ReceivedBody;

constexpr std::size_t kLongestLoggedText = 200;  ///< characters

/// Throws RequestRefused.
void CheckServed(std::uint32_t code) {
    if (!CQXBASE::IsRequest(code)) {
        throw RequestRefused(ServerError::UnknownRequest);
    }
    if (code == CQXBASE::kOtpData) {
        throw RequestRefused(ServerError::NotSupported);
    }
}

std::string_view BodyOf(const network::Request& request) noexcept {
    return std::string_view(request.frame.bytes).substr(CQXBASE::kFrameHeaderSize);
}

/// A block that wraps a frame without copying it.
class FrameBlock {
  public:
    explicit FrameBlock(const std::string& bytes) : block_(bytes.data(), bytes.size()) {
        if (block_.data_block() == nullptr) {
            throw std::bad_alloc();  // ACE doesn't
        }
        block_.wr_ptr(bytes.size());
    }
    const ACE_Message_Block& Get() const noexcept { return block_; }

  private:
    ACE_Message_Block block_;
};

}  // namespace

RequestHandler::RequestHandler(sessions::LoginService& logins, CommandService& commands,
                               RunningCommands& running, sessions::SessionTable& sessions,
                               const network::ReplyEncoder& encoder, std::size_t mostMemory)
    : logins_(logins),
      commands_(commands),
      running_(running),
      sessions_(sessions),
      encoder_(encoder),
      mostMemory_(mostMemory) {}

bool RequestHandler::IsCommand(std::uint32_t code) noexcept {
    const CQXBASE::BodyClass body = CQXBASE::BodyOf(code);
    return body == CQXBASE::BodyClass::Command || body == CQXBASE::BodyClass::CommandList;
}

ServerError RequestHandler::Admit(const network::FrameReader& frame,
                                  const std::string& token) const noexcept {
    const CQXBASE::FrameHeader& header = frame.Header();
    try {
        if (IsCommand(header.typeCode) && sessions_.AccountOf(token).empty()) {
            std::string plain;
            if (header.plainLength != 0) {
                encoder_.Cipher().DecipherOn(frame.Body(), plain);
            }
            const std::string_view body = header.plainLength != 0 ? plain : frame.Body();
            RequireSession(CQXBASE::CommandToken(body.data(), body.size(),
                                                 header.plainLength != 0 || header.littleEndian));
        } else if (header.typeCode == CQXBASE::kSendText) {
            sessions_.Require(token);
        } else if (!IsCommand(header.typeCode)) {
            CheckServed(header.typeCode);
            const bool login =
                CQXBASE::ExpectedReply(header.typeCode) == CQXBASE::BodyClass::SesInfo;
            return login ? ServerError::MalformedLogin : ServerError::FrameTooLarge;
        }
        return ServerError::None;
    } catch (const RequestRefused& e) {
        return e.Error();
    } catch (const std::bad_alloc&) {
        return ServerError::OutOfBuffers;
    } catch (const std::exception&) {
        return ServerError::UndecipherableBody;
    }
}

network::Outcome RequestHandler::Handle(network::Request& request) noexcept {
    return Guarded(request, [&] { return Dispatch(request); });
}

network::Outcome RequestHandler::Resume(const network::Request& request,
                                        const std::function<network::Outcome()>& later) noexcept {
    return Guarded(request, [&later] { return later(); });  // a copy would need memory
}

network::Outcome RequestHandler::Refuse(const network::Request& request,
                                        ServerError error) const noexcept {
    network::Outcome outcome;
    try {
        outcome.token = request.token;
        outcome.reply = encoder_.EncodeError(error, request.Enciphered());
    } catch (const std::exception& e) {
        LogError("connection ", request.connection, ": no error reply: ", e.what());
    }
    return outcome;
}

template <class Serve>
network::Outcome RequestHandler::Guarded(const network::Request& request, Serve serve) noexcept {
    ServerError error = ServerError::Internal;
    try {
        return serve();
    } catch (const RequestRefused& e) {
        error = e.Error();
        LogDebug("connection ", request.connection, ": request ", request.Code(),
                 " refused: ", error);
    } catch (const std::bad_alloc&) {
        error = ServerError::OutOfBuffers;
        LogError("connection ", request.connection, ": out of memory");
    } catch (const Poco::Exception& e) {
        LogError("connection ", request.connection, ": ", e.name(), ": ", Shown{e.message()});
    } catch (const std::exception& e) {
        LogError("connection ", request.connection, ": ", Shown{e.what()});
    }
    return Refuse(request, error);
}

network::Outcome RequestHandler::Dispatch(network::Request& request) {
    const std::uint32_t code = request.Code();
    CheckServed(code);
    if (IsCommand(code)) {
        return Command(request);
    }
    // Who may ask at all is known before the body is looked at.
    if (code == CQXBASE::kSendText) {
        logins_.AccountOf(sessions_.Require(request.token));
    } else if (code == CQXBASE::kVirtualLogout && sessions_.AccountOf(request.token).empty()) {
        throw RequestRefused(ServerError::NotLoggedIn);
    }
    RequestMemory memory(encoder_.Budget(), mostMemory_);
    const std::string plain = Plain(request, memory);
    const MessageHolder message = Decode(request, plain, memory);
    if (code == CQXBASE::kHandshake) {
        return Shake(request);
    }
    const std::wstring& text = message.As<QXOneString>()->value;
    if (code == CQXBASE::kSendText) {
        return TakeText(request, text);
    }
    if (code == CQXBASE::kCancel) {
        return CancelSession(request, text);
    }
    return code == CQXBASE::kVirtualLogout ? Logout(request, text) : logins_.Login(request, text);
}

/// On a connection without a login a command is only looked at, and runs where those of its account
/// do.
network::Outcome RequestHandler::Command(network::Request& request) {
    if (!request.token.empty()) {
        return RunCommand(request);
    }
    std::string plain;
    if (request.Enciphered()) {
        encoder_.Cipher().DecipherOn(BodyOf(request).substr(0, network::FrameReader::kSmallBody),
                                     plain);
    }
    const std::string_view body = request.Enciphered() ? std::string_view(plain) : BodyOf(request);
    const std::optional<std::wstring> token = CQXBASE::CommandToken(
        body.data(), body.size(), request.Enciphered() || request.frame.header.littleEndian);
    RequireSession(token);
    return {std::nullopt,
            request.token,
            [this, &request] { return RunCommand(request); },
            {network::Crew::Databases,
             sessions_.AccountOf(CQXBASE::WideToUtf8(CQXBASE::SplitTokenField(*token).session)),
             false}};
}

network::Outcome RequestHandler::RunCommand(network::Request& request) {
    RequestMemory memory(encoder_.Budget(), mostMemory_);
    const std::string plain = Plain(request, memory);
    const std::string_view body = request.Enciphered() ? std::string_view(plain) : BodyOf(request);
    RequireSession(CQXBASE::CommandToken(
        body.data(), body.size(), request.Enciphered() || request.frame.header.littleEndian));
    const MessageHolder message = Decode(request, plain, memory);
    return commands_.Serve(request, message);
}

/// Nothing is decoded for whoever has no session.
void RequestHandler::RequireSession(const std::optional<std::wstring>& token) const {
    if (!token) {
        throw RequestRefused(ServerError::UndecodableBody);
    }
    sessions_.Require(CQXBASE::WideToUtf8(CQXBASE::SplitTokenField(*token).session));
}

/// The deciphered body, for which the frame's bytes are given up; "" for one that came plain.
std::string RequestHandler::Plain(network::Request& request, RequestMemory& memory) const {
    std::string plain;
    if (request.Enciphered()) {
        if (!memory.TakeBesides(BodyOf(request).size())) {
            throw RequestRefused(ServerError::OutOfBuffers);
        }
        try {
            plain = encoder_.Cipher().Decipher(BodyOf(request));
        } catch (const Poco::Exception&) {
            throw RequestRefused(ServerError::UndecipherableBody);
        }
        if (plain.size() != request.frame.header.plainLength) {
            throw RequestRefused(ServerError::UndecipherableBody);
        }
        request.frame.bytes = std::string();
        request.frame.lease.Release();
    }
    return plain;
}

MessageHolder RequestHandler::Decode(const network::Request& request, const std::string& plain,
                                     RequestMemory& memory) const {
    const FrameBlock block(request.frame.bytes);
    MessageHolder message =
        MessageHolder::Request(request.Code(),
                               request.Enciphered() ? ReceivedBody::Raw(plain.data(), plain.size())
                                                    : ReceivedBody::Frame(block.Get()),
                               &memory);
    if (memory.TooMuch() || memory.UsedUp()) {
        throw RequestRefused(memory.TooMuch() ? ServerError::FrameTooLarge
                                              : ServerError::OutOfBuffers);
    }
    if (message.GetState() != MessageHolder::State::Good) {
        throw RequestRefused(ServerError::UndecodableBody);
    }
    return message;
}

network::Outcome RequestHandler::TakeText(const network::Request& request,
                                          const std::wstring& text) {
    const sessions::Session session = sessions_.Require(request.token);
    const std::string shown = text.size() <= kLongestLoggedText
                                  ? "'" + CQXBASE::PrintableUtf8(CQXBASE::WideToUtf8(text)) + "'"
                                  : std::to_string(text.size()) + " characters";
    LogInformation("connection ", request.connection, ": message from '", session.account,
                   "': ", shown);
    return Done(request, request.token);
}

/// Comes on a connection of its own, since the session's is waiting: the token says enough.
network::Outcome RequestHandler::CancelSession(const network::Request& request,
                                               const std::wstring& token) {
    const std::string named = CQXBASE::WideToUtf8(token);
    sessions_.Require(named);
    running_.Cancel(named);
    return Done(request, request.token);
}

network::Outcome RequestHandler::Shake(const network::Request& request) {
    if (!request.token.empty()) {
        logins_.AccountOf(sessions_.Require(request.token));
    }
    return Done(request, request.token);
}

network::Outcome RequestHandler::Logout(const network::Request& request,
                                        const std::wstring& login) {
    const std::optional<sessions::Session> session = sessions_.Peek(request.token);
    const std::vector<std::wstring> pieces = CQXBASE::Split(login, L"|~|");
    const std::string user = pieces.empty() ? std::string() : CQXBASE::WideToUtf8(pieces[0]);
    if (!session || (!user.empty() && user != session->account)) {
        throw RequestRefused(ServerError::NotLoggedIn);
    }
    sessions_.End(request.token);
    commands_.EndSession(request.token);
    LogInformation("connection ", request.connection, ": '", session->account, "' logged out");
    return Done(request, {});
}

network::Outcome RequestHandler::Done(const network::Request& request,
                                      const std::string& token) const {
    CQXBASE::QXSimpleMsg status(std::wstring(), 0);
    network::Outcome outcome;
    outcome.token = token;
    outcome.reply = encoder_.Encode(request.Code(), status, request.Enciphered());
    return outcome;
}

}  // namespace CQXSERVER::requests
