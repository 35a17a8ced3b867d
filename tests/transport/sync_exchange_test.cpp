#include <cerrno>
#include <future>
#include <limits>

#include <ace/OS_NS_sys_socket.h>
#include <gtest/gtest.h>

#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"

namespace CQXBASE {
namespace {

const std::size_t kBig = 8 * 1024 * 1024;  // more than the sockets between two programs hold

void Echo(ACE_SOCK_Stream& stream) {
    for (std::string frame = ReadFrame(stream); !frame.empty(); frame = ReadFrame(stream)) {
        Write(stream, frame);
    }
}

/// Takes the beginning of a frame, then resets the connection.
void TakeAndReset(ACE_SOCK_Stream& stream) {
    Read(stream, 16);
    Reset(stream);
}

void WriteBytewise(ACE_SOCK_Stream& stream, const std::string& bytes) {
    for (const char byte : bytes) {
        Write(stream, std::string(1, byte));
    }
}

class SyncExchange : public testing::Test {
  protected:
    LogCapture log_;
    Received got_;
};

TEST_F(SyncExchange, FramesOfAllSizesRoundTrip) {
    LoopbackPeer peer({Echo});
    OpenQXIO io(peer.Port());
    for (const std::size_t size : {1U, 15U, 16U, 496U, 497U, 1048576U, 1048577U, 3145728U}) {
        for (const bool encipher : {false, true}) {
            Bytes record(std::string(size, static_cast<char>(size % 251)));
            ASSERT_EQ(io.Syc_sendobj(record, 7, encipher, true), 0);
            ASSERT_EQ(got_.SyncFrom(io), 0);
            EXPECT_EQ(got_.enciphered, encipher);
            EXPECT_EQ(got_.typeCode, 7U);
            EXPECT_EQ(got_.Body(), std::string(size, static_cast<char>(size % 251)));
        }
    }
    EXPECT_TRUE(log_.Lines(9).empty());  // the peer has no address to name
}

TEST_F(SyncExchange, BodiesAbove40MiBTravelPlain) {
    LoopbackPeer peer({Echo});
    OpenQXIO io(peer.Port());
    const std::string body(41943041, 'p');
    Bytes record(body);
    ASSERT_EQ(io.Syc_sendobj(record, 7, true, true), 0);
    ASSERT_EQ(got_.SyncFrom(io), 0);
    EXPECT_FALSE(got_.enciphered);
    EXPECT_TRUE(got_.Body() == body);
}

TEST_F(SyncExchange, RepliesInPiecesAndEmptyOnes) {
    StreamPair pair;
    OpenQXIO io(pair.near);
    std::thread writer([&pair] {
        WriteBytewise(pair.far, Frame(1, "bytewise"));
        Write(pair.far, Frame(2, ""));
    });
    EXPECT_EQ(got_.SyncFrom(io), 0);
    EXPECT_EQ(got_.Body(), "bytewise");
    EXPECT_EQ(got_.SyncFrom(io), 0);
    EXPECT_EQ(got_.typeCode, 2U);
    EXPECT_EQ(got_.Body(), "");
    writer.join();
}

TEST_F(SyncExchange, LogLinesOfASuccess) {
    StreamPair pair;
    OpenQXIO io(pair.near);
    Bytes record("12345");
    ASSERT_EQ(io.Syc_sendobj(record, 1, false, false), 0);
    Write(pair.far, Frame(1, "123"));
    ASSERT_EQ(got_.SyncFrom(io), 0);
    const std::string handle = "(" + std::to_string(io.handle()) + "): ";
    const std::vector<std::string> expected = {
        handle + "send data to 127.0.0.9, data size is 5. \n",
        handle + "Syc_receive_init() in, from 127.0.0.9 \n",
        handle + "Syc_receive_init() out, from 127.0.0.9 \n",
        handle + "read message header from 127.0.0.9 \n",
        handle + "start receiving from 127.0.0.9, 3 bytes \n",
        handle + "received from 127.0.0.9, 3 bytes \n"};
    EXPECT_EQ(log_.Lines(9), expected);
}

TEST_F(SyncExchange, ShortHeaderDropsAnOwnedConnection) {
    LoopbackPeer peer({[](ACE_SOCK_Stream& stream) {
                           ReadFrame(stream);
                           Write(stream, Frame(1, "x").substr(0, 10));
                       },
                       Echo});
    OpenQXIO io(peer.Port());
    Bytes record("request");
    ASSERT_EQ(io.Syc_sendobj(record, 1, true, true), 0);
    const std::string handle = "(" + std::to_string(io.handle()) + "): ";
    EXPECT_EQ(got_.SyncFrom(io), -5005);
    EXPECT_EQ(io.LastErrorCode(), -1);
    EXPECT_EQ(io.LastErrorText(), L"receive message error, unknown error.(-1).");
    EXPECT_EQ(io.peer_, nullptr);
    EXPECT_EQ(log_.Lines(9),
              std::vector<std::string>{
                  handle + "read message header error from 0.0.0.0 (errno = 0: Success). \n"});
    ASSERT_EQ(io.Syc_sendobj(record, 1, true, true), 0);
    EXPECT_EQ(got_.SyncFrom(io), 0);
    EXPECT_EQ(got_.Body(), "request");
}

TEST_F(SyncExchange, CutBodyLeavesTheStream) {
    StreamPair pair;
    OpenQXIO io(pair.near);
    Write(pair.far, Frame(1, std::string(1048577, 'x')).substr(0, 16 + 1048576));
    ACE_OS::shutdown(pair.far.get_handle(), ACE_SHUTDOWN_WRITE);
    EXPECT_EQ(got_.SyncFrom(io), -5005);
    EXPECT_EQ(io.LastErrorCode(), -1);
    EXPECT_EQ(io.LastErrorText(), L"receive the data from master error, unknown error.(-1).");
    EXPECT_EQ(log_.Lines(9).back(), "(" + std::to_string(io.handle()) +
                                        "): receive message error from 127.0.0.9, "
                                        "total 1048577 bytes, received 1048576 bytes \n");
    Write(pair.near, "open");
    EXPECT_EQ(Read(pair.far, 4), "open");
}

TEST_F(SyncExchange, ResetInTheMiddleOfAReply) {
    StreamPair pair;
    OpenQXIO io(pair.near);
    Write(pair.far, Frame(1, std::string(100, 'x')).substr(0, 50));
    Reset(pair.far);
    EXPECT_EQ(got_.SyncFrom(io), -5005);
    EXPECT_EQ(io.LastErrorCode(), 10054);
    EXPECT_NE(io.LastErrorText().find(L"Connection reset by peer(10054)."), std::wstring::npos);
}

TEST_F(SyncExchange, SilenceBeyondTheReceiveTimeOut) {
    StreamPair pair;
    OpenQXIO io(pair.near);
    timeval limit{0, 20000};
    pair.near.set_option(SOL_SOCKET, SO_RCVTIMEO, &limit, static_cast<int>(sizeof limit));
    Write(pair.far, Frame(1, "twelve bytes").substr(0, 20));
    EXPECT_EQ(got_.SyncFrom(io), -5005);
    EXPECT_EQ(io.LastErrorCode(), 10060);
    EXPECT_EQ(io.LastErrorText(),
              L"receive the data from master error, Connection timed out(10060).");
    EXPECT_EQ(got_.SyncFrom(io), -5005);
    EXPECT_EQ(io.LastErrorText(), L"receive message error, Connection timed out(10060).");
}

TEST_F(SyncExchange, NonBlockingStreamsAreWaitedFor) {
    StreamPair pair;
    OpenQXIO io(pair.near);
    pair.near.enable(ACE_NONBLOCK);
    std::thread far([&pair] { Echo(pair.far); });
    Bytes record(std::string(kBig, 'n'));
    EXPECT_EQ(io.Syc_sendobj(record, 1, false, false), 0);
    EXPECT_EQ(got_.SyncFrom(io), 0);
    EXPECT_EQ(got_.length, kBig);
    pair.near.close_writer();
    far.join();
}

TEST_F(SyncExchange, FailedWritesAreRepeatedTwice) {
    LoopbackPeer peer({TakeAndReset, TakeAndReset, TakeAndReset});
    OpenQXIO io(peer.Port());
    Bytes record(std::string(kBig, 'x'));
    EXPECT_EQ(io.Syc_sendobj(record, 1, false, true), -5004);
    EXPECT_EQ(io.LastErrorCode(), 10054);
    EXPECT_NE(io.peer_, nullptr);  // only a write that is repeated closes its connection
    EXPECT_EQ(peer.Finish(), 3U);
    EXPECT_EQ(log_.Lines(9).size(), 3U);
    EXPECT_TRUE(log_.Lines(LM_ERROR).empty());
}

TEST_F(SyncExchange, RepeatedWriteSendsTheSameFrame) {
    std::string taken;
    LoopbackPeer peer({TakeAndReset, TakeAndReset,
                       [&taken](ACE_SOCK_Stream& stream) { taken = ReadFrame(stream); }});
    OpenQXIO io(peer.Port());
    std::string body(kBig, '\0');
    for (std::size_t i = 0; i < kBig; ++i) {
        body[i] = static_cast<char>(i >> 7);
    }
    Bytes record(body);
    EXPECT_EQ(io.Syc_sendobj(record, 9, false, true), 0);
    peer.Finish();
    EXPECT_TRUE(taken == Frame(9, body));
}

TEST_F(SyncExchange, WithoutRetryOneWriteIsMade) {
    LoopbackPeer peer({TakeAndReset});
    OpenQXIO io(peer.Port());
    Bytes record(std::string(kBig, 'x'));
    EXPECT_EQ(io.Syc_sendobj(record, 1, false, false), -5004);
    EXPECT_NE(io.peer_, nullptr);
    EXPECT_EQ(log_.Lines(9).size(), 1U);
}

TEST_F(SyncExchange, OtherFailedWritesAreLoggedAsErrors) {
    ACE_SOCK_Stream unconnected;
    OpenQXIO io(unconnected);
    Bytes record("12345");
    EXPECT_EQ(io.Syc_sendobj(record, 1, false, false), -5004);
    EXPECT_EQ(io.LastErrorCode(), 10038);
    EXPECT_EQ(io.LastErrorText(), L", Bad file descriptor(10038).");
    EXPECT_EQ(log_.Lines(9),
              std::vector<std::string>{"(-1): send data to 127.0.0.9 error (errno=10038, Bad file "
                                       "descriptor), data size is 5. \n"});
    EXPECT_EQ(log_.Lines(LM_ERROR),
              std::vector<std::string>{
                  ": 10038, send data to 127.0.0.9 error, , Bad file descriptor(10038).. "
                  "data size is 5 .\n"});
}

TEST_F(SyncExchange, ClosedPeerRaisesNoSignal) {
    StreamPair pair;
    OpenQXIO io(pair.near);
    pair.far.close();
    Bytes record(std::string(kBig, 'x'));
    EXPECT_EQ(io.Syc_sendobj(record, 1, false, false), -5004);  // draws a reset
    EXPECT_EQ(io.Syc_sendobj(record, 1, false, false), -5004);  // would raise SIGPIPE
    EXPECT_EQ(io.LastErrorCode(), 10054);
}

TEST_F(SyncExchange, IdleConnectionClosedByThePeerIsMadeAgain) {
    std::promise<void> closed;
    LoopbackPeer peer({[&closed](ACE_SOCK_Stream& stream) {
                           Write(stream, ReadFrame(stream));
                           stream.close();
                           closed.set_value();
                       },
                       Echo});
    OpenQXIO io(peer.Port());
    Bytes record("request");
    ASSERT_EQ(io.Syc_sendobj(record, 1, true, false), 0);
    ASSERT_EQ(got_.SyncFrom(io), 0);
    closed.get_future().wait();
    EXPECT_EQ(io.Syc_sendobj(record, 1, true, false), 0);
    EXPECT_EQ(got_.SyncFrom(io), 0);
    EXPECT_EQ(got_.Body(), "request");
}

/// Fails at a step of its encoding.
class Faulty : public Bytes {
  public:
    enum class How { Size, Standard, Unknown };
    explicit Faulty(How how) : Bytes("body", how == How::Size ? 3 : 4), how_(how) {}
    int toCDR(ACE_OutputCDR& out) const override {
        if (how_ == How::Standard) {
            throw std::runtime_error("no encoding");
        }
        if (how_ == How::Unknown) {
            throw 42;
        }
        return Bytes::toCDR(out);
    }

  private:
    How how_;
};

TEST_F(SyncExchange, ExceptionsBecomeTheLastError) {
    StreamPair pair;
    OpenQXIO io(pair.near);
    const auto text = [&io](Faulty::How how) {
        Faulty record(how);
        EXPECT_EQ(io.Syc_sendobj(record, 1, false, true), -5004);
        EXPECT_EQ(io.LastErrorCode(), -5004);
        return io.LastErrorText();
    };
    EXPECT_EQ(text(Faulty::How::Size), L"data too long, send error.\n");
    EXPECT_EQ(text(Faulty::How::Standard), L"no encoding\n");
    EXPECT_EQ(text(Faulty::How::Unknown), L"trans data error.\n");
    Bytes endless("x", std::numeric_limits<std::size_t>::max());
    EXPECT_EQ(io.Syc_sendobj(endless, 1, false, true), -5004);
    EXPECT_EQ(io.LastErrorText(), L"std::bad_alloc\n");
    Bytes record("fine");
    EXPECT_EQ(io.Syc_sendobj(record, 1, false, true), 0);
    EXPECT_EQ(ReadFrame(pair.far), Frame(1, "fine"));
}

}  // namespace
}  // namespace CQXBASE
