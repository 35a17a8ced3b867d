#include <future>

#include <gtest/gtest.h>

#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"

namespace CQXBASE {
namespace {

std::string Body(std::size_t size) {
    std::string body(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        body[i] = static_cast<char>(i * 7 >> 4);
    }
    return body;
}

/// Sends back every frame through a transport of its own, until the other side closes.
void EchoOverProactor(ACE_SOCK_Stream& stream) {
    LogCapture log;
    OpenQXIO io(stream);
    for (Received frame; frame.AsyncFrom(io) == 0;) {
        Bytes reply(frame.Body());
        EXPECT_EQ(io.Asy_sendobj(reply, frame.typeCode, frame.enciphered), 0);
    }
}

class AsyncExchange : public testing::Test {
  protected:
    /// Receives from a peer that sends `bytes` and closes.
    int ReceiveFrom(const std::string& bytes) {
        StreamPair pair;
        io_ = std::make_unique<OpenQXIO>(pair.near);
        Write(pair.far, bytes);
        pair.far.close();
        return got_.AsyncFrom(*io_);
    }

    LogCapture log_;
    std::unique_ptr<OpenQXIO> io_;
    Received got_;
};

TEST_F(AsyncExchange, FramesOfAllSizesRoundTrip) {
    LoopbackPeer peer({EchoOverProactor});
    OpenQXIO io(peer.Port());
    for (const std::size_t size : {1U, 15U, 16U, 472U, 473U, 1048576U, 3145729U, 41943041U}) {
        const std::string body = Body(size);
        Bytes record(body);
        for (const bool encipher : {false, true}) {
            ASSERT_EQ(io.Asy_sendobj(record, 7, encipher), 0) << size;
            ASSERT_EQ(got_.AsyncFrom(io), 0) << size;
            EXPECT_EQ(got_.enciphered, encipher && size <= 41943040);
            EXPECT_EQ(got_.typeCode, 7U);
            EXPECT_TRUE(got_.Body() == body) << size;
        }
    }
    EXPECT_EQ(io.LastErrorCode(), 0);
}

TEST_F(AsyncExchange, BodiesThatArriveByteByByte) {
    StreamPair pair;
    OpenQXIO io(pair.near);
    std::thread writer([&pair] {
        Write(pair.far, Frame(1, "").substr(0, 8) + Frame(1, std::string(300, ' ')).substr(8, 8));
        for (const char byte : Body(300)) {
            Write(pair.far, std::string(1, byte));
        }
    });
    EXPECT_EQ(got_.AsyncFrom(io), 0);
    EXPECT_EQ(got_.Body(), Body(300));
    writer.join();
}

TEST_F(AsyncExchange, PeerThatClosesAtAnyStep) {
    const std::string frame = Frame(1, "twelve bytes");
    for (const std::size_t sent : {0U, 1U, 15U, 16U, 17U, 27U}) {
        EXPECT_EQ(ReceiveFrom(frame.substr(0, sent)), -1) << sent;
        EXPECT_EQ(io_->LastErrorCode(), 0) << sent;
        EXPECT_EQ(io_->pending_, 0U);
    }
    EXPECT_EQ(ReceiveFrom(frame), 0);
    EXPECT_EQ(ReceiveFrom(Frame(1, "")), -1);
    EXPECT_EQ(io_->LastErrorCode(), 0);
}

TEST_F(AsyncExchange, ClaimedLengthsCostNoMemory) {
    const std::string header("\1\0\0\0\1\0\0\0\xFF\xFF\xFF\xFF\0\0\0\0", 16);
    EXPECT_EQ(ReceiveFrom(header + std::string(1000, 'x')), -1);
    EXPECT_LE(io_->rxBlock_->capacity(), 1048576U + 16U);
    std::string undecipherable = Frame(1, std::string(32, 'a'), 20);
    EXPECT_EQ(ReceiveFrom(undecipherable), -1);
    EXPECT_EQ(io_->LastErrorCode(), 1);
    undecipherable[12] = '\xFF';
    EXPECT_EQ(ReceiveFrom(undecipherable), -1);
}

TEST_F(AsyncExchange, ClosedPeerEndsASend) {
    StreamPair pair;
    OpenQXIO io(pair.near);
    Reset(pair.far);
    Bytes record(Body(8 * 1024 * 1024));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(io.Asy_sendobj(record, 1, false), -1);
        EXPECT_EQ(io.LastErrorCode(), -1);
        EXPECT_EQ(io.LastErrorText(), L"发送数据失败。");
    }
}

TEST_F(AsyncExchange, FrameWithoutABodyCantBeSent) {
    StreamPair pair;
    OpenQXIO io(pair.near);
    Bytes empty("");
    EXPECT_EQ(io.Asy_sendobj(empty, 1, true), -1);
    EXPECT_EQ(io.LastErrorText(), L"发送数据失败。");
    EXPECT_EQ(Read(pair.far, 16), Frame(1, ""));
    io.set_last_error(77, L"earlier");
    EXPECT_EQ(io.Asy_sendobj(empty, 1, true), -1);
    EXPECT_EQ(io.LastErrorText(), L"earlier");
    Bytes record("x");
    EXPECT_EQ(io.Asy_sendobj(record, 1, false), 0);
    EXPECT_EQ(io.LastErrorCode(), 77);  // a success clears nothing
}

TEST_F(AsyncExchange, ExceptionsBecomeTheLastError) {
    StreamPair pair;
    OpenQXIO io(pair.near);
    Bytes liar("four", 3);
    EXPECT_EQ(io.Asy_sendobj(liar, 1, false), -1);
    EXPECT_EQ(io.LastErrorCode(), -1);
    EXPECT_EQ(io.LastErrorText(), L"data too long, send error.\n");
    Bytes unlimited(std::string(2000, 'u'), 0);
    EXPECT_EQ(io.Asy_sendobj(unlimited, 1, false), 0);
    EXPECT_EQ(ReadFrame(pair.far), Frame(1, std::string(2000, 'u')));
}

TEST_F(AsyncExchange, RefusedConnection) {
    OpenQXIO io(ClosedPort());
    Bytes record("x");
    EXPECT_EQ(io.Asy_sendobj(record, 1, false), -1);
    EXPECT_EQ(io.LastErrorCode(), 10061);
    EXPECT_NE(io.LastErrorText().find(L"no listener.(10061)."), std::wstring::npos);
    EXPECT_EQ(got_.AsyncFrom(io), -1);
    EXPECT_EQ(io.LastErrorCode(), 10057);
    EXPECT_EQ(io.LastErrorText().substr(0, 27), L"Asynch_Read_Stream::open, T");
    EXPECT_EQ(io.Asy_receive_init(), -210);
}

TEST_F(AsyncExchange, BothSidesInTurnOnOneTransport) {
    LoopbackPeer peer({EchoOverProactor});
    OpenQXIO io(peer.Port());
    Bytes record("in turn");
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(io.Asy_sendobj(record, 1, true), 0);
        ASSERT_EQ(got_.AsyncFrom(io), 0);
        EXPECT_EQ(got_.Body(), "in turn");
        ASSERT_EQ(io.Syc_sendobj(record, 2, false, false), 0);
        ASSERT_EQ(got_.SyncFrom(io), 0);
        EXPECT_EQ(got_.Body(), "in turn");
    }
}

TEST_F(AsyncExchange, BlockOfABlockingReceiveCantBeReadInto) {
    StreamPair pair;
    OpenQXIO io(pair.near);
    Write(pair.far, Frame(1, "first") + Frame(1, "second"));
    ASSERT_EQ(got_.SyncFrom(io), 0);
    EXPECT_EQ(got_.AsyncFrom(io), -1);
    EXPECT_EQ(io.LastErrorCode(), 14);
    EXPECT_EQ(io.LastErrorText(), L"Asy_receive_block::read, Bad address(14).");
    ASSERT_EQ(got_.SyncFrom(io), 0);
    EXPECT_EQ(got_.Body(), "second");
}

TEST_F(AsyncExchange, ConnectionOfABlockingSendHasNoWriter) {
    LoopbackPeer peer({EchoOverProactor});
    OpenQXIO io(peer.Port());
    Bytes record("x");
    ASSERT_EQ(io.Syc_sendobj(record, 1, false, false), 0);
    EXPECT_EQ(io.Asy_sendobj(record, 1, false), -1);
    EXPECT_EQ(io.LastErrorCode(), 14);
    EXPECT_EQ(io.LastErrorText(), L"Asynch_Write_Stream::write, Bad address(14).");
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
                           EXPECT_EQ(ReadFrame(stream), Frame(2, "second"));
                           Read(stream, 1);
                       }});
    OpenQXIO io(peer.Port());
    Bytes first("first");
    ASSERT_EQ(io.Asy_sendobj(first, 1, false), 0);
    ASSERT_EQ(got_.AsyncFrom(io), 0);
    closed.get_future().wait();
    Bytes second("second");
    EXPECT_EQ(io.Asy_sendobj(second, 2, false), 0);
    EXPECT_EQ(got_.AsyncFrom(io), -1);
    EXPECT_EQ(io.LastErrorCode(), 10038);
    EXPECT_EQ(io.LastErrorText().substr(0, 23), L"Asy_receive_block::read");
}

TEST_F(AsyncExchange, StreamTakenAway) {
    StreamPair pair;
    auto* stream = new ACE_SOCK_Stream(pair.near.get_handle());
    pair.near.set_handle(ACE_INVALID_HANDLE);
    OpenQXIO io(*stream);
    Bytes record("x");
    ASSERT_EQ(io.Asy_sendobj(record, 1, false), 0);
    io.close_stream();
    EXPECT_EQ(io.Asy_sendobj(record, 1, false), -1);
    EXPECT_EQ(io.LastErrorCode(), 10038);
    EXPECT_EQ(io.Syc_sendobj(record, 1, false, true), -5004);
    EXPECT_EQ(io.LastErrorCode(), 10057);
}

}  // namespace
}  // namespace CQXBASE
