#include <future>

#include "tests/support/FreePort.h"
#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"

namespace CQXBASE {
namespace {

/// Sends back every frame through a transport of its own, until the other side closes.
void EchoOverProactor(ACE_SOCK_Stream& stream) {
    LogCapture log;
    OpenQXIO io(stream);
    for (Received frame; frame.AsyncFrom(io) == 0;) {
        Bytes reply(frame.Body());
        EXPECT_EQ(io.Asy_sendobj(reply, frame.typeCode, frame.enciphered), 0);
    }
}

class AsyncExchange : public TransportTest {
  protected:
    int Send(const std::string& body) { return Send(io_, body); }
    static int Send(OpenQXIO& io, const std::string& body) {
        Bytes record(body);
        return io.Asy_sendobj(record, 1, false);
    }

    StreamPair pair_;
    OpenQXIO io_{pair_.nearEnd};
};

TEST_F(AsyncExchange, FramesOfAllSizesRoundTripInTurnWithBlockingCalls) {
    LoopbackPeer peer({EchoOverProactor});
    OpenQXIO io(peer.Port());
    for (const std::size_t size : {1U, 16U, 472U, 473U, 496U, 497U, 1048577U, 41943041U}) {
        Bytes record(Body(size));
        for (const bool encipher : {false, true}) {
            for (const bool blocking : {false, true}) {
                ASSERT_EQ(blocking ? io.Syc_sendobj(record, 7, encipher, true)
                                   : io.Asy_sendobj(record, 7, encipher),
                          0)
                    << size;
                ASSERT_EQ(blocking ? got_.SyncFrom(io) : got_.AsyncFrom(io), 0) << size;
                EXPECT_EQ(got_.enciphered, encipher && size <= 41943040);
                EXPECT_EQ(got_.typeCode, 7U);
                EXPECT_TRUE(got_.Body() == Body(size)) << size;
            }
        }
    }
    EXPECT_EQ(io.LastErrorCode(), 0);
}

TEST_F(AsyncExchange, HasNoTlsAndSaysSo) {
    LoopbackPeer peer({[](ACE_SOCK_Stream& stream) { EXPECT_EQ(Read(stream, 1), ""); }});
    OpenQXIO io(peer.Port());
    CQXDB::QXTlsInfo tls;
    tls.enabled = true;
    io.UseTls(tls);
    EXPECT_EQ(Send(io, "body"), -1);
    EXPECT_EQ(io.LastErrorCode(), CQXDB::QXTLS_NOT_ASYNCHRONOUS);
    EXPECT_EQ(got_.AsyncFrom(io), -1);
    EXPECT_EQ(io.LastErrorCode(), CQXDB::QXTLS_NOT_ASYNCHRONOUS);
}

TEST_F(AsyncExchange, ClosedPeerEndsASend) {
    for (const std::size_t taken : {0U, 16U, 1000000U}) {
        StreamPair pair;
        OpenQXIO io(pair.nearEnd);
        std::thread peer([&] {
            Read(pair.farEnd, taken);
            Reset(pair.farEnd);
        });
        for (int i = 0; i < 2; ++i) {  // the second would raise SIGPIPE
            EXPECT_EQ(Send(io, Body(16 << 20)), -1) << taken;
            if (qxdb_test::kOnWindows && io.LastErrorCode() == 10054) {
                continue;  // refused at once
            }
            EXPECT_EQ(io.LastErrorCode(), -1);
            EXPECT_EQ(io.LastErrorText(), L"发送数据失败。");
        }
        peer.join();
    }
}

TEST_F(AsyncExchange, FrameWithoutABodyCantBeSent) {
    EXPECT_EQ(Send(""), -1);
    EXPECT_EQ(io_.LastErrorText(), L"发送数据失败。");
    EXPECT_EQ(Read(pair_.farEnd, 16), Frame(1, ""));
    io_.set_last_error(77, L"earlier");
    EXPECT_EQ(Send(""), -1);
    EXPECT_EQ(io_.LastErrorText(), L"earlier");
    EXPECT_EQ(Send("x"), 0);
    EXPECT_EQ(io_.LastErrorCode(), 77);  // a success clears nothing
}

TEST_F(AsyncExchange, RefusedConnection) {
    OpenQXIO io(qxdb_test::FreePort());
    EXPECT_EQ(Send(io, "x"), -1);
    EXPECT_EQ(io.LastErrorCode(), 10061);
    EXPECT_EQ(got_.AsyncFrom(io), -1);
    EXPECT_EQ(io.LastErrorCode(), 10057);
    EXPECT_EQ(io.LastErrorText().substr(0, 26), L"Asynch_Read_Stream::open, ");
    EXPECT_EQ(io.Asy_receive_init(), -210);
}

TEST_F(AsyncExchange, BlockOfABlockingReceiveCantBeReadInto) {
    Write(pair_.farEnd, Frame(1, "first") + Frame(1, "second"));
    ASSERT_EQ(got_.SyncFrom(io_), 0);
    EXPECT_EQ(got_.AsyncFrom(io_), -1);
    EXPECT_EQ(io_.LastErrorText(), L"Asy_receive_block::read, Bad address(14).");
    ASSERT_EQ(got_.SyncFrom(io_), 0);
    EXPECT_EQ(got_.Body(), "second");
}

TEST_F(AsyncExchange, ConnectionOfABlockingSendHasNoWriter) {
    std::promise<void> refused;
    LoopbackPeer peer({[&refused](ACE_SOCK_Stream& stream) {
        const std::string frame = ReadFrame(stream);
        refused.get_future().wait();
        Write(stream, frame);
        Read(stream, 1);
    }});
    OpenQXIO io(peer.Port());
    Bytes record("x");
    ASSERT_EQ(io.Syc_sendobj(record, 1, false, false), 0);
    EXPECT_EQ(Send(io, "x"), -1);
    EXPECT_EQ(io.LastErrorText(), L"Asynch_Write_Stream::write, Bad address(14).");
    refused.set_value();
    EXPECT_EQ(got_.AsyncFrom(io), 0);  // the reader is opened when it is first needed
}

TEST_F(AsyncExchange, ReconnectedTransportWritesButReadsNoMore) {
    std::promise<void> closed;
    LoopbackPeer peer({[&closed](ACE_SOCK_Stream& stream) {
                           Write(stream, ReadFrame(stream));
                           stream.close();
                           closed.set_value();
                       },
                       [](ACE_SOCK_Stream& stream) {
                           EXPECT_EQ(ReadFrame(stream), Frame(1, "second"));
                           Read(stream, 1);
                       }});
    OpenQXIO io(peer.Port());
    ASSERT_EQ(Send(io, "first"), 0);
    ASSERT_EQ(got_.AsyncFrom(io), 0);
    closed.get_future().wait();
    EXPECT_EQ(Send(io, "second"), 0);
    EXPECT_EQ(got_.AsyncFrom(io), -1);
    EXPECT_EQ(io.LastErrorText(), L"Asy_receive_block::read, " +
                                      PlatformText(L"Bad file descriptor", 10038) + L"(10038).");
}

}  // namespace
}  // namespace CQXBASE
