#include <cerrno>
#include <future>

#include <ace/os_include/netinet/os_tcp.h>

#include "tests/support/FreePort.h"
#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"

namespace CQXBASE {
namespace {

void AwaitEnd(ACE_SOCK_Stream& stream) {
    EXPECT_EQ(Read(stream, 1), "");
}

class Connection : public TransportTest {};

TEST_F(Connection, ErrorsAreNumberedTheSameEverywhere) {
    OpenQXIO io(0);
    const auto recorded = [&io](int error) {
        int code = 0;
        std::wstring text;
        errno = error;
        io.record_socket_error(L"context", code, text);
        return std::to_wstring(code) + L" " + text;
    };
    EXPECT_EQ(recorded(0), L"-1 context, unknown error.(-1).");
    EXPECT_EQ(recorded(ECONNREFUSED), L"10061 context, no listener.(10061).");
    EXPECT_EQ(recorded(EPIPE),
              L"10054 context, " + PlatformText(L"Broken pipe", 10054) + L"(10054).");
    EXPECT_EQ(recorded(ETIME),
              L"10060 context, " + PlatformText(L"Timer expired", 10060) + L"(10060).");
    EXPECT_EQ(recorded(ENOMEM),
              L"12 context, " + PlatformText(L"Cannot allocate memory", 12) + L"(12).");
}

TEST_F(Connection, WrappedStreamStaysTheCallers) {
    StreamPair pair;
    int off = 0;
    pair.nearEnd.set_option(ACE_IPPROTO_TCP, TCP_NODELAY, &off, sizeof off);
    {
        OpenQXIO io(pair.nearEnd);
        Bytes record("x");
        EXPECT_EQ(io.Asy_sendobj(record, 1, false), 0);
        EXPECT_EQ(ReadFrame(pair.farEnd), Frame(1, "x"));
        EXPECT_EQ(Option(pair.nearEnd, ACE_IPPROTO_TCP, TCP_NODELAY), 0);
        Write(pair.farEnd, "x");
        EXPECT_EQ(io.handle(), pair.nearEnd.get_handle());
        EXPECT_EQ(io.open_connection(), 0);
        EXPECT_FALSE(io.probe_connection());
        std::wstring ip;
        EXPECT_EQ(&io.GetClientIp(ip), &ip);
        EXPECT_EQ(ip, L"127.0.0.9");
    }
    Write(pair.nearEnd, "still open");
    EXPECT_EQ(Read(pair.farEnd, 10), "still open");
}

TEST_F(Connection, CloseStreamTakesAWrappedOneAway) {
    StreamPair pair;
    auto* stream = new ACE_SOCK_Stream;
    OpenQXIO io(*stream);
    io.handle(pair.nearEnd.get_handle());
    pair.nearEnd.set_handle(ACE_INVALID_HANDLE);
    Bytes record("x");
    ASSERT_EQ(io.Asy_sendobj(record, 1, false), 0);
    EXPECT_EQ(ReadFrame(pair.farEnd), Frame(1, "x"));
    io.close_stream();
    io.close_stream();
    EXPECT_EQ(io.handle(), ACE_INVALID_HANDLE);
    EXPECT_EQ(io.Asy_sendobj(record, 1, false), -1);
    EXPECT_EQ(io.LastErrorCode(), 10038);
    EXPECT_EQ(io.Syc_sendobj(record, 1, false, true), -5004);
    EXPECT_EQ(io.LastErrorCode(), 10057);
    char byte = 0;
    EXPECT_EQ(pair.farEnd.recv_n(&byte, 1), -1);  // a reset, not an orderly end
}

TEST_F(Connection, RefusedOnesNameTheirTarget) {
    const unsigned short port = qxdb_test::FreePort();
    const std::wstring text =
        L" connect to 127.0.0.1:" + std::to_wstring(port) + L" error, no listener.(10061).";
    OpenQXIO direct(port);
    QXIO proxied(L"10.0.0.5", 9000, 1, L"127.0.0.1", port, L"", L"");
    for (QXIO* io : {static_cast<QXIO*>(&direct), &proxied}) {
        EXPECT_EQ(io->open_connection(), -1);
        EXPECT_EQ(io->LastErrorCode(), 10061);
        EXPECT_EQ(io->LastErrorText(), text);
    }
    EXPECT_EQ(direct.peer_, nullptr);
    std::wstring ip;
    EXPECT_EQ(direct.GetClientIp(ip), L"0.0.0.0");
}

TEST_F(Connection, ARefusedTunnelKeepsItsSocket) {
    LoopbackPeer proxy({[](ACE_SOCK_Stream& stream) {
        Read(stream, 9);
        Write(stream, std::string("\0\x5B\0\0\0\0\0\0", 8));
        Read(stream, 1);
    }});
    QXIO refused(L"10.1.2.3", 8080, 2, L"127.0.0.1", proxy.Port(), L"", L"");
    EXPECT_EQ(refused.open_connection(), -1);
    EXPECT_EQ(refused.LastErrorCode(), -1);
    EXPECT_EQ(refused.LastErrorText(), L"连接代理服务器失败, ");
    EXPECT_NE(refused.handle(), ACE_INVALID_HANDLE);
    EXPECT_EQ(refused.open_connection(), 0);  // an idle socket passes the probe
}

TEST_F(Connection, UnknownNames) {
    // A label of more than 63 letters fails without a question to any name server.
    QXIO unknown(std::wstring(70, L'a') + L".invalid", 80, 0, L"", 0, L"", L"");
    EXPECT_EQ(unknown.open_connection(), -1);
    EXPECT_GE(unknown.LastErrorCode(), 11001);
    EXPECT_LE(unknown.LastErrorCode(), 11004);
}

TEST_F(Connection, IdleOneIsKeptAndOthersAreReplaced) {
    std::promise<void> end;
    std::promise<void> ended;
    std::promise<void> spoke;
    LoopbackPeer peer({[&](ACE_SOCK_Stream& stream) {
                           end.get_future().wait();
                           stream.close();
                           ended.set_value();
                       },
                       [&](ACE_SOCK_Stream& stream) {
                           Write(stream, "unasked");
                           spoke.set_value();
                           Read(stream, 1);
                       },
                       AwaitEnd});
    OpenQXIO io(peer.Port());
    ASSERT_EQ(io.open_connection(), 0);
    EXPECT_FALSE(io.probe_connection());
    EXPECT_TRUE(io.handleSet_->is_set(io.handle()));
    end.set_value();
    ended.get_future().wait();
    EXPECT_TRUE(io.probe_connection());
    EXPECT_EQ(io.peer_, nullptr);
    EXPECT_EQ(io.handleSet_->num_set(), 0);

    ASSERT_EQ(io.open_connection(), 0);
    spoke.get_future().wait();
    ASSERT_EQ(io.open_connection(), 0);  // drops what holds unasked bytes
    EXPECT_FALSE(io.probe_connection());
    EXPECT_EQ(io.LastErrorCode(), 0);
    io.close_stream();
    peer.Finish();
}

TEST_F(Connection, KeepAliveNeedsASocket) {
    StreamPair pair;
    LoopbackPeer peer({[](ACE_SOCK_Stream& stream) { Read(stream, 1); }});
    OpenQXIO io(peer.Port());
    ASSERT_EQ(io.open_connection(), 0);
    EXPECT_EQ(Option(*io.peer_, SOL_SOCKET, SO_KEEPALIVE), 0);
    io.set_keepalive(pair.nearEnd);
    EXPECT_NE(Option(pair.nearEnd, SOL_SOCKET, SO_KEEPALIVE), 0);
}

}  // namespace
}  // namespace CQXBASE
