#include <future>
#include <netinet/tcp.h>

#include <gtest/gtest.h>

#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"

namespace CQXBASE {
namespace {

int Option(const ACE_SOCK_Stream& stream, int level, int option) {
    int value = -1;
    int size = sizeof value;
    EXPECT_EQ(stream.get_option(level, option, &value, &size), 0);
    return value;
}

std::wstring ConnectText(unsigned short port, const std::wstring& reason) {
    return L" connect to 127.0.0.1:" + std::to_wstring(port) + L" error, " + reason;
}

/// Keeps a connection open until told to end it.
class Gate {
  public:
    void Open() { promise_.set_value(); }
    void Wait() { future_.wait(); }

  private:
    std::promise<void> promise_;
    std::shared_future<void> future_ = promise_.get_future().share();
};

TEST(Connection, RefusedOnesAreTold) {
    const unsigned short port = ClosedPort();
    OpenQXIO direct(port);
    EXPECT_EQ(direct.open_connection(), -1);
    EXPECT_EQ(direct.LastErrorCode(), 10061);
    EXPECT_EQ(direct.LastErrorText(), ConnectText(port, L"no listener.(10061)."));
    EXPECT_EQ(direct.peer_, nullptr);

    QXIO proxied(L"10.0.0.5", 9000, 1, L"127.0.0.1", port, L"", L"");
    EXPECT_EQ(proxied.open_connection(), -1);
    EXPECT_EQ(proxied.LastErrorText(), ConnectText(port, L"no listener.(10061)."));
}

TEST(Connection, AddressesThatAreNone) {
    // A label of more than 63 letters fails without a question to any name server.
    QXIO unknown(std::wstring(70, L'a') + L".invalid", 80, 0, L"", 0, L"", L"");
    EXPECT_EQ(unknown.open_connection(), -1);
    EXPECT_GE(unknown.LastErrorCode(), 11001);
    EXPECT_LE(unknown.LastErrorCode(), 11004);
    QXIO port(L"127.0.0.1", 65536, 0, L"", 0, L"", L"");
    EXPECT_EQ(port.open_connection(), -1);
    EXPECT_EQ(port.LastErrorCode(), 10022);
}

TEST(Connection, NamesAreResolved) {
    LoopbackPeer peer({[](ACE_SOCK_Stream& stream) { EXPECT_EQ(Read(stream, 1), ""); }});
    QXIO io(L"localhost", peer.Port(), 0, L"", 0, L"", L"");
    EXPECT_EQ(io.open_connection(), 0) << io.LastErrorCode();
}

TEST(Connection, IdleOneIsKeptAndOthersAreReplaced) {
    Gate end;
    std::promise<void> ended;
    std::promise<void> spoke;
    LoopbackPeer peer({[&](ACE_SOCK_Stream& stream) {
                           end.Wait();
                           stream.close();
                           ended.set_value();
                       },
                       [&](ACE_SOCK_Stream& stream) {
                           Write(stream, "unasked");
                           spoke.set_value();
                           Read(stream, 1);
                       },
                       [](ACE_SOCK_Stream& stream) { Read(stream, 1); }});
    {
        OpenQXIO io(peer.Port());
        ASSERT_EQ(io.open_connection(), 0);
        EXPECT_FALSE(io.probe_connection());
        EXPECT_TRUE(io.handleSet_->is_set(io.handle()));
        end.Open();
        ended.get_future().wait();
        EXPECT_TRUE(io.probe_connection());
        EXPECT_EQ(io.peer_, nullptr);
        EXPECT_EQ(io.handleSet_->num_set(), 0);

        ASSERT_EQ(io.open_connection(), 0);
        spoke.get_future().wait();
        ASSERT_EQ(io.open_connection(), 0);  // drops what holds unasked bytes
        EXPECT_FALSE(io.probe_connection());
        EXPECT_EQ(io.LastErrorCode(), 0);
    }
    EXPECT_EQ(peer.Finish(), 3U);
}

TEST(Connection, KeepAliveNeedsASocket) {
    LoopbackPeer peer({[](ACE_SOCK_Stream& stream) { Read(stream, 1); }});
    OpenQXIO io(peer.Port());
    ASSERT_EQ(io.open_connection(), 0);
    EXPECT_EQ(Option(*io.peer_, SOL_SOCKET, SO_KEEPALIVE), 0);
    io.set_keepalive(*io.peer_);
    EXPECT_NE(Option(*io.peer_, SOL_SOCKET, SO_KEEPALIVE), 0);
    EXPECT_EQ(Option(*io.peer_, IPPROTO_TCP, TCP_KEEPIDLE), 5);
    EXPECT_EQ(Option(*io.peer_, IPPROTO_TCP, TCP_KEEPINTVL), 15);
}

TEST(Connection, ProxyIsAskedForTheServer) {
    LoopbackPeer proxy({[](ACE_SOCK_Stream& stream) {
        const std::string request =
            "CONNECT 10.0.0.5:9000 HTTP/1.1\r\nUser-Agent: QXClient/0.1\r\n\r\n";
        EXPECT_EQ(Read(stream, request.size()), request);
        Write(stream, "HTTP/1.1 200 Connection established\r\n\r\n");
        EXPECT_EQ(ReadFrame(stream), Frame(6, "through"));
    }});
    QXIO io(L"10.0.0.5", 9000, 1, L"127.0.0.1", proxy.Port(), L"", L"");
    Bytes record("through");
    EXPECT_EQ(io.Syc_sendobj(record, 6, false, false), 0);
}

TEST(Connection, RefusingProxyKeepsItsSocket) {
    LoopbackPeer proxy({[](ACE_SOCK_Stream& stream) {
        Read(stream, 9);
        Write(stream, std::string("\0\x5B\0\0\0\0\0\0", 8));
        EXPECT_EQ(Read(stream, 1), "");
    }});
    QXIO refused(L"10.1.2.3", 8080, 2, L"127.0.0.1", proxy.Port(), L"", L"");
    EXPECT_EQ(refused.open_connection(), -1);
    EXPECT_EQ(refused.LastErrorCode(), -1);
    EXPECT_EQ(refused.LastErrorText(), L"连接代理服务器失败, ");
    EXPECT_NE(refused.handle(), ACE_INVALID_HANDLE);
    EXPECT_EQ(refused.open_connection(), 0);  // an idle socket passes the probe
}

}  // namespace
}  // namespace CQXBASE
