// What clients do on the way to TLS, within it, and around it.
#include <functional>

#include <ace/INET_Addr.h>
#include <ace/SOCK_Connector.h>
#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include "messages/type_codes.h"
#include "platform/sockets/handshake.h"
#include "tests/server/test_server.h"
#include "tests/support/TestTls.h"
#include "tls/context.h"
#include "tls/tls_error.h"
#include "transport/frame.h"

namespace qxdb_test {
namespace {

using namespace CQXBASE;
using CQXSERVER::kKiB;
using CQXSERVER::ServerError;

/// A server with TLS, whose silence of strangers lasts as long as its clock says.
class TlsConnection : public testing::Test {
  protected:
    /// A socket, and TLS over it whose bytes the test moves itself.
    struct Client {
        explicit Client(std::uint16_t port, int version = TLS1_3_VERSION) {
            static const tls::Context context = tls::ClientContext(TestTls::Get().client);
            EXPECT_EQ(ACE_SOCK_Connector().connect(stream, ACE_INET_Addr(port, "127.0.0.1")), 0);
            platform::sockets::SetReceiveTimeout(stream.get_handle(), 60000);
            SSL_set_min_proto_version(ssl.get(), version);
            SSL_set_max_proto_version(ssl.get(), version);
            SSL_set_cipher_list(ssl.get(), "ALL:@SECLEVEL=0");  // what old versions need
            SSL_set_bio(ssl.get(), fromServer, toServer);
            SSL_set_connect_state(ssl.get());
        }
        ~Client() { stream.close(); }
        Client(const Client&) = delete;
        Client& operator=(const Client&) = delete;

        /// What TLS wants to send.
        std::string Outgoing() const {
            std::string bytes(BIO_ctrl_pending(toServer), '\0');
            if (!bytes.empty()) {
                BIO_read(toServer, bytes.data(), static_cast<int>(bytes.size()));
            }
            return bytes;
        }
        void SendWire(const std::string& bytes) { stream.send_n(bytes.data(), bytes.size()); }
        /// False when the server has closed.
        bool TakeWire() {
            char bytes[4096];
            const ssize_t got = stream.recv(bytes, sizeof bytes);
            return got > 0 && BIO_write(fromServer, bytes, static_cast<int>(got)) == got;
        }
        /// The bytes of the hello.
        std::string Hello() {
            SSL_do_handshake(ssl.get());
            return Outgoing();
        }
        bool Handshake() {
            for (;;) {
                tls::ForgetErrors();
                const int done = SSL_do_handshake(ssl.get());
                SendWire(Outgoing());
                if (done == 1) {
                    return true;
                }
                if (SSL_get_error(ssl.get(), done) != SSL_ERROR_WANT_READ || !TakeWire()) {
                    return false;
                }
            }
        }
        /// The records that hold `plain`.
        std::string Records(const std::string& plain) {
            SSL_write(ssl.get(), plain.data(), static_cast<int>(plain.size()));
            return Outgoing();
        }
        /// `count` deciphered bytes, or fewer when the server closes.
        std::string Read(std::size_t count) {
            std::string plain(count, '\0');
            std::size_t at = 0;
            while (at < count) {
                tls::ForgetErrors();
                const int got =
                    SSL_read(ssl.get(), plain.data() + at, static_cast<int>(count - at));
                at += got > 0 ? static_cast<std::size_t>(got) : 0;
                if (got <= 0 &&
                    (SSL_get_error(ssl.get(), got) != SSL_ERROR_WANT_READ || !TakeWire())) {
                    break;
                }
            }
            return plain.substr(0, at);
        }
        std::uint32_t ReplyCode() {
            const std::string head = Read(kFrameHeaderSize);
            if (head.size() < kFrameHeaderSize) {
                return 99;
            }
            const FrameHeader header = DecodeFrameHeader(head.data());
            Read(header.bodyLength);
            return header.typeCode;
        }

        ACE_SOCK_Stream stream;
        BIO* fromServer = BIO_new(BIO_s_mem());
        BIO* toServer = BIO_new(BIO_s_mem());
        std::unique_ptr<SSL, void (*)(SSL*)> ssl{
            SSL_new(tls::ClientContext(TestTls::Get().client).get()), SSL_free};
    };

    static std::string Handshakes(int count) {
        QXSimpleMsg record(std::wstring(), 0);
        std::string frames;
        for (int i = 0; i < count; ++i) {
            frames += MakeFrame(kHandshake, EncodeRecord(record), false);
        }
        return frames;
    }
    std::uint16_t Port() { return server_.Get().Port(); }
    /// All are closed, at the latest when their time is over.
    bool AllAreGone() {
        return Eventually([this] {
            clock_.Advance(std::chrono::seconds(1));
            return server_.Get().Stats().open == 0;
        });
    }

    HandClock clock_;
    TestServer server_{[](CQXSERVER::ServerOptions& options) {
                           options.tls.certificate = TestTls::Get().server.certificate;
                           options.tls.key = TestTls::Get().server.key;
                           options.tls.required = true;
                           options.limits.maxConnections = 4;
                       },
                       clock_};
};

TEST_F(TlsConnection, AHelloMayComeInPiecesAndRecordsToo) {
    Client client(Port());
    for (const char byte : client.Hello()) {
        client.SendWire(std::string(1, byte));
    }
    ASSERT_TRUE(client.Handshake());
    for (const char byte : client.Records(Handshakes(1))) {
        client.SendWire(std::string(1, byte));
    }
    EXPECT_EQ(client.ReplyCode(), kHandshake);
}

TEST_F(TlsConnection, RequestsAheadInOneRecordAreAllAnswered) {
    Client client(Port());
    ASSERT_TRUE(client.Handshake());
    client.SendWire(client.Records(Handshakes(20)));  // the socket has nothing more to read
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(client.ReplyCode(), kHandshake) << i;
    }
    EXPECT_EQ(SSL_key_update(client.ssl.get(), SSL_KEY_UPDATE_REQUESTED), 1);
    client.SendWire(client.Records(Handshakes(2)));
    EXPECT_EQ(client.ReplyCode(), kHandshake) << "with other keys";
    EXPECT_EQ(client.ReplyCode(), kHandshake);
}

TEST_F(TlsConnection, WhoStopsOnTheWayIsClosedByTheLimit) {
    const std::string garbage = "\x16\x03\x01 this is no hello, however long it goes on";
    const std::function<void(Client&)> ways[] = {
        [](Client& client) { client.SendWire(client.Hello().substr(0, 60)); },
        [](Client& client) { client.SendWire("\x16"); },
        [](Client& client) { EXPECT_TRUE(client.Handshake()); },
        [](Client& client) {
            EXPECT_TRUE(client.Handshake());
            client.SendWire(client.Records(Handshakes(1)).substr(0, 20));
        },
        [&](Client& client) { client.SendWire(garbage); },
    };
    for (const auto& way : ways) {
        Client client(Port());
        way(client);
        ASSERT_TRUE(Eventually([this] { return server_.Get().Stats().accepted > 0; }));
        EXPECT_TRUE(AllAreGone());
    }
    EXPECT_EQ(server_.Get().Stats().requests, 0U);
}

TEST_F(TlsConnection, NothingRunsOfAFrameThatIsCut) {
    const std::function<void(Client&)> cuts[] = {
        [](Client& client) {
            SSL_shutdown(client.ssl.get());
            client.SendWire(client.Outgoing());
        },
        [](Client& client) { client.stream.close_writer(); },
        [](Client& client) {
            linger reset{1, 0};
            client.stream.set_option(SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
            client.stream.close();
        },
        [](Client& client) {  // a record that has been tampered with
            std::string bytes = client.Records("the rest");
            bytes.back() = static_cast<char>(bytes.back() ^ 1);
            client.SendWire(bytes);
        },
    };
    for (const auto& cut : cuts) {
        Client client(Port());
        ASSERT_TRUE(client.Handshake());
        client.SendWire(client.Records(Handshakes(1).substr(0, kFrameHeaderSize + 1)));
        cut(client);
        EXPECT_TRUE(AllAreGone());
    }
    EXPECT_EQ(server_.Get().Stats().requests, 0U);
}

TEST_F(TlsConnection, OldVersionsAndRenegotiationAreRefused) {
    Client old(Port(), TLS1_1_VERSION);
    EXPECT_FALSE(old.Handshake());
    EXPECT_TRUE(Eventually([this] { return server_.Get().Stats().failedHandshakes == 1; }));
    Client client(Port(), TLS1_2_VERSION);
    ASSERT_TRUE(client.Handshake());
    SSL_clear_options(client.ssl.get(), SSL_OP_NO_RENEGOTIATION);
    EXPECT_EQ(SSL_renegotiate(client.ssl.get()), 1);
    EXPECT_FALSE(client.Handshake());
}

TEST_F(TlsConnection, AFullServerSaysSoWithinTls) {
    std::vector<std::unique_ptr<Client>> all;
    for (int i = 0; i < 4; ++i) {
        all.push_back(std::make_unique<Client>(Port()));
        ASSERT_TRUE(all.back()->Handshake());
        QXOneString login(L"ann|~|secret");
        all.back()->SendWire(all.back()->Records(MakeFrame(kLogin, EncodeRecord(login), false)));
        ASSERT_EQ(all.back()->ReplyCode(), kLogin);
    }
    Client tooMany(Port());
    ASSERT_TRUE(tooMany.Handshake());
    EXPECT_EQ(tooMany.ReplyCode(), kErrorReply);
    EXPECT_EQ(tooMany.Read(1), "") << "is closed then";
}

}  // namespace
}  // namespace qxdb_test
