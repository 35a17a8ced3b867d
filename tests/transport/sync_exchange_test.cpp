#include <limits>
#include <stdexcept>

#include <ace/OS_NS_sys_socket.h>

#include "platform/sockets/handshake.h"
#include "platform/sockets/options.h"
#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"

namespace CQXBASE {
namespace {

const std::size_t kBig = 8 << 20;  // more than the sockets between two programs hold

/// Takes the beginning of a frame, then resets the connection.
void TakeAndReset(ACE_SOCK_Stream& stream) {
    Read(stream, 16);
    Reset(stream);
}

class SyncExchange : public TransportTest {
  protected:
    int Send(QXIO& io, const std::string& body, bool retry) {
        Bytes record(body);
        return io.Syc_sendobj(record, 1, false, retry);
    }
    static std::string Handle(const QXIO& io) {
        return "(" + std::to_string(platform::sockets::HandleNumber(io.handle())) + "): ";
    }
};

TEST_F(SyncExchange, RepliesInPiecesAreWhole) {
    StreamPair pair;
    OpenQXIO io(pair.nearEnd);
    pair.nearEnd.enable(ACE_NONBLOCK);  // waited for as well
    const std::string frame = Frame(1, Body(300)) + Frame(2, Body(kBig));
    std::thread writer([&] {
        for (std::size_t i = 0; i < 400; ++i) {
            Write(pair.farEnd, frame.substr(i, 1));
        }
        Write(pair.farEnd, frame.substr(400));
        EXPECT_TRUE(ReadFrame(pair.farEnd) == Frame(1, Body(kBig)));
    });
    EXPECT_EQ(got_.SyncFrom(io), 0);
    EXPECT_EQ(got_.Body(), Body(300));
    EXPECT_EQ(got_.SyncFrom(io), 0);
    EXPECT_TRUE(got_.Body() == Body(kBig));
    EXPECT_EQ(Send(io, Body(kBig), false), 0);
    writer.join();
}

TEST_F(SyncExchange, LogLinesOfASuccess) {
    StreamPair pair;
    OpenQXIO io(pair.nearEnd);
    ASSERT_EQ(Send(io, "12345", false), 0);
    Write(pair.farEnd, Frame(1, "123"));
    ASSERT_EQ(got_.SyncFrom(io), 0);
    EXPECT_EQ(log_.progress, (Lines{Handle(io) + "send data to 127.0.0.9, data size is 5. \n",
                                    Handle(io) + "Syc_receive_init() in, from 127.0.0.9 \n",
                                    Handle(io) + "Syc_receive_init() out, from 127.0.0.9 \n",
                                    Handle(io) + "read message header from 127.0.0.9 \n",
                                    Handle(io) + "start receiving from 127.0.0.9, 3 bytes \n",
                                    Handle(io) + "received from 127.0.0.9, 3 bytes \n"}));
}

TEST_F(SyncExchange, ShortHeaderDropsAnOwnedConnection) {
    LoopbackPeer peer({[](ACE_SOCK_Stream& stream) {
                           ReadFrame(stream);
                           Write(stream, Frame(1, "x").substr(0, 10));
                       },
                       Echo});
    OpenQXIO io(peer.Port());
    ASSERT_EQ(Send(io, "request", true), 0);
    const std::string handle = Handle(io);
    EXPECT_EQ(got_.SyncFrom(io), -5005);
    EXPECT_EQ(io.LastErrorCode(), -1);
    EXPECT_EQ(io.LastErrorText(), L"receive message error, unknown error.(-1).");
    EXPECT_EQ(io.peer_, nullptr);
    EXPECT_EQ(log_.progress, Lines{handle + "read message header error from 0.0.0.0 (errno = 0: "
                                            "Success). \n"});
    ASSERT_EQ(Send(io, "request", true), 0);
    EXPECT_EQ(got_.SyncFrom(io), 0);
}

TEST_F(SyncExchange, CutBodyLeavesTheStream) {
    StreamPair pair;
    OpenQXIO io(pair.nearEnd);
    Write(pair.farEnd, Frame(1, Body(1048577)).substr(0, 16 + 1048576));
    pair.farEnd.close_writer();
    EXPECT_EQ(got_.SyncFrom(io), -5005);
    EXPECT_EQ(io.LastErrorText(), L"receive the data from master error, unknown error.(-1).");
    EXPECT_EQ(log_.progress.back(), Handle(io) +
                                        "receive message error from 127.0.0.9, total "
                                        "1048577 bytes, received 1048576 bytes \n");
    Write(pair.nearEnd, "open");
    EXPECT_EQ(Read(pair.farEnd, 4), "open");
}

TEST_F(SyncExchange, SilenceBeyondTheReceiveTimeOut) {
    StreamPair pair;
    OpenQXIO io(pair.nearEnd);
    platform::sockets::SetReceiveTimeout(pair.nearEnd.get_handle(), 20);
    Write(pair.farEnd, Frame(1, "twelve bytes").substr(0, 20));
    EXPECT_EQ(got_.SyncFrom(io), -5005);
    EXPECT_EQ(io.LastErrorText(), L"receive the data from master error, " +
                                      PlatformText(L"Connection timed out", 10060) + L"(10060).");
    EXPECT_EQ(got_.SyncFrom(io), -5005);
    EXPECT_EQ(io.LastErrorCode(), 10060);
}

/// Answers the request for a tunnel, then sends back every frame.
void TunnelAndEcho(ACE_SOCK_Stream& stream) {
    std::string request;
    while (request.find("\r\n\r\n") == std::string::npos) {
        const std::string byte = Read(stream, 1);
        ASSERT_FALSE(byte.empty());
        request += byte;
    }
    Write(stream, "HTTP/1.1 200 Connection established\r\n\r\n");
    Echo(stream);
}

TEST_F(SyncExchange, TheLimitOfSilenceReachesAnOpenConnectionAndKeepsTheProxysShorterOne) {
    struct Step {
        std::uint32_t limit;
        int direct;  // seconds that the socket is given
        int proxied;
    };
    const Step steps[] = {{0, 0, 5}, {3000, 3, 3}, {60000, 60, 5}, {0, 0, 5}};
    LoopbackPeer server({Echo});
    LoopbackPeer proxy({TunnelAndEcho});
    OpenQXIO direct(server.Port());
    OpenQXIO proxied(kProxyHttp, proxy.Port());
    constexpr int kUnit = qxdb_test::kOnWindows ? 1000 : 1;
    for (const Step& step : steps) {
        for (OpenQXIO* io : {&direct, &proxied}) {
            io->LimitSilence(step.limit);
            ASSERT_EQ(Send(*io, "request", false), 0);
            ASSERT_EQ(got_.SyncFrom(*io), 0);
            EXPECT_EQ(Option(*io->peer_, SOL_SOCKET, SO_RCVTIMEO),
                      (io == &direct ? step.direct : step.proxied) * kUnit)
                << step.limit;
        }
    }
    direct.close_stream();
    proxied.close_stream();
}

TEST_F(SyncExchange, FailedWritesAreRepeatedTwiceWhenAsked) {
    std::string taken;
    LoopbackPeer peer({TakeAndReset, TakeAndReset, TakeAndReset, TakeAndReset, TakeAndReset,
                       TakeAndReset,
                       [&taken](ACE_SOCK_Stream& stream) { taken = ReadFrame(stream); }});
    OpenQXIO io(peer.Port());
    EXPECT_EQ(Send(io, Body(kBig), false), -5004);
    EXPECT_NE(io.peer_, nullptr);
    EXPECT_EQ(log_.progress.size(), 1U);
    EXPECT_EQ(Send(io, Body(kBig), true), -5004);  // takes three of the peer's connections
    EXPECT_EQ(io.LastErrorCode(), 10054);
    EXPECT_EQ(log_.progress.size(), 4U);
    EXPECT_TRUE(log_.errors.empty());
    EXPECT_NE(io.peer_, nullptr);  // only a write that is repeated closes its connection
    EXPECT_EQ(Send(io, Body(kBig), true), 0);
    peer.Finish();
    EXPECT_TRUE(taken == Frame(1, Body(kBig)));
}

TEST_F(SyncExchange, OtherFailedWritesAreLoggedAsErrors) {
    ACE_SOCK_Stream unconnected;
    OpenQXIO io(unconnected);
    EXPECT_EQ(Send(io, "12345", false), -5004);
    EXPECT_EQ(io.LastErrorCode(), 10038);
    const std::wstring reason = PlatformText(L"Bad file descriptor", 10038);
    EXPECT_EQ(io.LastErrorText(), L", " + reason + L"(10038).");
    const std::string text = ToNarrow(reason, kCodePageAnsi);
    EXPECT_EQ(log_.progress, Lines{"(-1): send data to 127.0.0.9 error (errno=10038, " + text +
                                   "), data size is 5. \n"});
    EXPECT_EQ(log_.errors, Lines{": 10038, send data to 127.0.0.9 error, , " + text +
                                 "(10038).. data size is 5 .\n"});
}

TEST_F(SyncExchange, ClosedPeerRaisesNoSignal) {
    StreamPair pair;
    OpenQXIO io(pair.nearEnd);
    pair.farEnd.close();
    EXPECT_EQ(Send(io, Body(kBig), false), -5004);  // draws a reset
    EXPECT_EQ(Send(io, Body(kBig), false), -5004);  // would raise SIGPIPE
    EXPECT_EQ(io.LastErrorCode(), 10054);
}

/// Throws while it is encoded.
template <class Thrown>
class Throwing : public QXIOBase {
  public:
    explicit Throwing(Thrown thrown) : thrown_(thrown) {}
    int toCDR(ACE_OutputCDR& /*out*/) const override { throw thrown_; }

  private:
    Thrown thrown_;
};

/// Says that it wasn't written, though the stream took every byte.
class Unwritten : public QXIOBase {
  public:
    int toCDR(ACE_OutputCDR& out) const override {
        out.write_ulong(7);
        return 0;
    }
};

TEST_F(SyncExchange, ObjectsThatCantBeSentLeaveNothingOnTheWire) {
    StreamPair pair;
    OpenQXIO io(pair.nearEnd);
    Bytes liar("four", 3);
    Bytes endless("x", std::numeric_limits<std::size_t>::max());
    Throwing standard(std::runtime_error("no encoding"));
    Throwing unknown(42);
    Unwritten unwritten;
    const std::pair<QXIOBase*, const wchar_t*> cases[] = {
        {&liar, L"data too long, send error.\n"},
        {&endless, L"std::bad_alloc\n"},
        {&unwritten, L"object can't be encoded, send error.\n"},
        {&standard, L"no encoding\n"},
        {&unknown, L"trans data error.\n"}};
    for (const auto& [record, text] : cases) {
        EXPECT_EQ(io.Syc_sendobj(*record, 1, false, true), -5004);
        EXPECT_EQ(io.LastErrorCode(), -5004);
        EXPECT_EQ(io.LastErrorText(), text);
        EXPECT_EQ(io.Asy_sendobj(*record, 1, false), -1);
        EXPECT_EQ(io.LastErrorCode(), -1);
        EXPECT_EQ(io.LastErrorText(), text);
    }
    EXPECT_EQ(Send(io, "fine", true), 0);
    EXPECT_EQ(ReadFrame(pair.farEnd), Frame(1, "fine"));
}

}  // namespace
}  // namespace CQXBASE
