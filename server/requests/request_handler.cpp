#include "server/requests/request_handler.h"

#include <new>
#include <string_view>
#include <utility>

#include <Poco/Exception.h>
#include <ace/Message_Block.h>

#include "messages/session_records.h"
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

/// A block that wraps a frame without copying it.
class FrameBlock {
  public:
    explicit FrameBlock(const std::string& bytes) : block_(bytes.data(), bytes.size()) {
        block_.wr_ptr(bytes.size());
    }
    const ACE_Message_Block& Get() const noexcept { return block_; }

  private:
    ACE_Message_Block block_;
};

}  // namespace

RequestHandler::RequestHandler(sessions::LoginService& logins, CommandService& commands,
                               sessions::SessionTable& sessions,
                               const network::ReplyEncoder& encoder, std::size_t mostMemory)
    : logins_(logins),
      commands_(commands),
      sessions_(sessions),
      encoder_(encoder),
      mostMemory_(mostMemory) {}

bool RequestHandler::IsLogin(std::uint32_t code) noexcept {
    return code == CQXBASE::kLogin || code == CQXBASE::kVirtualLogin;
}

network::Outcome RequestHandler::Handle(network::Request& request) noexcept {
    return Guarded(request, [&] { return Dispatch(request); });
}

network::Outcome RequestHandler::Resume(const network::Request& request,
                                        const std::function<network::Outcome()>& later) noexcept {
    return Guarded(request, later);
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
    if (!CQXBASE::IsRequest(code)) {
        throw RequestRefused(ServerError::UnknownRequest);
    }
    if (code == CQXBASE::kOtpData || code == CQXBASE::kOneString) {
        throw RequestRefused(ServerError::NotSupported);
    }
    RequestMemory memory(encoder_.Budget(), mostMemory_);
    const MessageHolder message = Decode(request, memory);
    if (code == CQXBASE::kHandshake) {
        return Shake(request);
    }
    const auto* const one = message.As<QXOneString>();
    if (one == nullptr) {
        return commands_.Serve(request, message);
    }
    if (code == CQXBASE::kSendText) {
        return TakeText(request, one->value);
    }
    return IsLogin(code) ? logins_.Login(request, one->value) : Logout(request, one->value);
}

MessageHolder RequestHandler::Decode(network::Request& request, RequestMemory& memory) const {
    const std::string bytes = std::move(request.frame.bytes);
    std::string plain;
    if (request.Enciphered()) {
        try {
            plain = encoder_.Cipher().Decipher(
                std::string_view(bytes).substr(CQXBASE::kFrameHeaderSize));
        } catch (const Poco::Exception&) {
            throw RequestRefused(ServerError::UndecipherableBody);
        }
        if (plain.size() != request.frame.header.plainLength) {
            throw RequestRefused(ServerError::UndecipherableBody);
        }
    }
    const FrameBlock block(bytes);
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
                                  ? "'" + Printable(CQXBASE::WideToUtf8(text)) + "'"
                                  : std::to_string(text.size()) + " characters";
    LogInformation("connection ", request.connection, ": message from '", session.account,
                   "': ", shown);
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
