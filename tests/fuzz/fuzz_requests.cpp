#include <algorithm>
#include <optional>
#include <string_view>

#include <ace/Message_Block.h>
#include <sqlite3.h>

#include <qxdb/QXRsList.h>

#include "messages/message_holder.h"
#include "messages/type_codes.h"
#include "server/operation/services.h"
#include "server/sessions/password_hash.h"
#include "tests/fuzz/fuzz_input.h"
#include "tests/fuzz/request_seed.h"
#include "tests/support/TempDir.h"
#include "util/text.h"

namespace {

using namespace CQXBASE;
using namespace CQXSERVER;
using qxdb_test::Require;

constexpr std::size_t kMostRows = std::size_t{1} << 20;  ///< bytes of a result
constexpr std::int64_t kMostSqlite = 64 << 20;           ///< bytes that statements may take up

ServerOptions Options(const qxdb_test::TempDir& folder) {
    ServerOptions options;
    options.dataDir = folder.File("data");
    options.databases = {{"main", "sqlite::memory:"}};
    options.limits.maxFrameBytes = std::size_t{1} << 20;
    options.limits.maxResultBytes = kMostRows;
    options.limits.maxSessions = 4;
    options.limits.statementTimeout = std::chrono::milliseconds(50);
    return options;
}

bool IsLogin(std::uint32_t code) {
    return ExpectedReply(code) == BodyClass::SesInfo;
}

/// A server without sockets: what a connection and a worker do between them.
class Fixture {
  public:
    Fixture() : services_(Options(folder_), SteadyNow) {
        sqlite3_hard_heap_limit64(kMostSqlite);
        services_.accounts.Add("ann",
                               sessions::HashPassword("secret", sessions::ScryptCost{2, 1, 1}),
                               AllowedDatabases::All());
    }

    /// A new session on a new connection.
    void Connect() {
        token_ = services_.sessions.Open(*services_.accounts.Find("ann"), "");
        reader_.emplace(Options(folder_).limits.maxFrameBytes, services_.buffers, strangers_);
    }
    const std::string& Token() const { return token_; }
    const FrameCipher& Cipher() const { return services_.encoder.Cipher(); }

    void Feed(std::string_view bytes, std::size_t piece) {
        using State = network::FrameReader::State;
        while (!bytes.empty() && reader_->GetState() == State::Partial) {
            bytes.remove_prefix(reader_->Feed(bytes.data(), std::min(piece, bytes.size())));
            if (reader_->GetState() == State::Unadmitted &&
                services_.handler.Admit(*reader_, token_) == ServerError::None) {
                reader_->Admit();
            }
            if (reader_->GetState() == State::Complete) {
                Serve({1, "127.0.0.1", token_, reader_->Take(), nullptr});
            }
        }
    }

  private:
    /// True for a login that would have a password hashed at full cost: too slow to try many.
    bool IsSlow(const network::Request& request) const {
        if (!IsLogin(request.Code())) {
            return false;
        }
        std::string bytes = request.frame.bytes;
        ACE_Message_Block block(bytes.data(), bytes.size());
        block.wr_ptr(bytes.size());
        const auto message = MessageHolder::Request(request.Code(), ReceivedBody::Frame(block));
        const auto* const login = message.As<QXOneString>();
        const auto credentials =
            login != nullptr ? sessions::Credentials::Parse(login->value) : std::nullopt;
        return request.Enciphered() || (credentials && credentials->user != "ann");
    }

    void Serve(network::Request request) {
        if (IsSlow(request)) {
            return;
        }
        network::Outcome outcome = services_.handler.Handle(request);
        if (const auto later = std::exchange(outcome.later, nullptr)) {
            outcome = services_.handler.Resume(request, later);
        }
        Require(outcome.reply.has_value(), "every request is answered");
        CheckReply(request.Code(), *outcome.reply);
    }

    void CheckReply(std::uint32_t requestCode, const network::ReplyFrame& reply) const {
        const FrameHeader header = DecodeFrameHeader(reply.header.data());
        Require(header.bodyLength == reply.body.size(), "the header tells the body's length");
        Require(header.typeCode == requestCode || header.typeCode == kErrorReply,
                "a reply has the request's code, or that of an error");
        std::string body = reply.body;
        if (header.plainLength != 0) {
            body = Cipher().Decipher(body);
            Require(body.size() == header.plainLength, "the header tells the plain length");
        }
        CQXDB::QXRecordset rs;
        CQXDB::QXRsList list;
        const BodyClass expected = ExpectedReply(requestCode);
        void* const result = expected == BodyClass::Recordset ? static_cast<void*>(&rs) : &list;
        const auto holder = MessageHolder::Reply(
            requestCode, header.typeCode, ReceivedBody::Raw(body.data(), body.size()), result);
        Require(!IsRequest(requestCode) || holder.GetState() == MessageHolder::State::Good,
                "the client can decode it");
    }

    qxdb_test::TempDir folder_;
    operation::Services services_;
    ByteBudget strangers_{kMiB};
    std::optional<network::FrameReader> reader_;
    std::string token_;
};

void ReplaceAll(std::string& bytes, const std::string& from, const std::string& to) {
    for (std::size_t at = bytes.find(from); at != std::string::npos; at = bytes.find(from, at)) {
        bytes.replace(at, from.size(), to);
        at += to.size();
    }
}

/// The session's token in the place of the seeds' one, in either of the encodings of text.
std::string WithToken(std::string body, const std::string& token) {
    ReplaceAll(body, qxdb_test::kSeedToken, token);
    ReplaceAll(body, qxdb_test::Utf16(qxdb_test::kSeedToken), qxdb_test::Utf16(token));
    return body;
}

}  // namespace

// The first byte says what follows. Its highest bit set: the bytes of a connection, which come in
// pieces of as many bytes as the other bits say. Else a request code and a body, which is
// enciphered when the lowest bit is set.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Fixture fixture;
    qxdb_test::FuzzInput input(data, size);
    const std::uint8_t kind = input.Byte();
    fixture.Connect();
    if ((kind & 0x80) != 0) {
        const std::string bytes = WithToken(input.Rest(), fixture.Token());
        fixture.Feed(bytes, std::size_t{1} + (kind & 0x7f));
        return 0;
    }
    FrameHeader header;
    header.typeCode = input.Byte();
    std::string body = WithToken(input.Rest(), fixture.Token());
    if ((kind & 1) != 0 && !body.empty() && !IsLogin(header.typeCode)) {
        header.plainLength = static_cast<std::uint32_t>(body.size());
        body = fixture.Cipher().Encipher(body);
    }
    header.bodyLength = static_cast<std::uint32_t>(body.size());
    const FrameHeaderBytes bytes = EncodeFrameHeader(header);
    const std::string frame = std::string(bytes.data(), bytes.size()) + body;
    fixture.Feed(frame, frame.size());
    return 0;
}
