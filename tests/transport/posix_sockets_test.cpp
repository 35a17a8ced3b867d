// Sockets as only POSIX systems have them.
#include <atomic>
#include <fcntl.h>
#include <fstream>
#include <future>
#include <netinet/tcp.h>
#include <sys/resource.h>

#include <gtest/gtest.h>

#include "platform/sockets/handshake.h"
#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"

namespace CQXBASE {
namespace {

TEST(PosixSockets, DescriptorsBeyondAHandleSet) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::max<rlim_t>(limit.rlim_cur, 2048);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    std::vector<std::ifstream> crowd;
    while (crowd.size() < 1024) {  // as many as a handle set holds
        crowd.emplace_back("/dev/null");
    }
    std::promise<void> closed;
    LoopbackPeer peer({[&closed](ACE_SOCK_Stream& stream) {
                           Write(stream, ReadFrame(stream));
                           stream.close();
                           closed.set_value();
                       },
                       [](ACE_SOCK_Stream& stream) { Write(stream, ReadFrame(stream)); }});
    OpenQXIO io(peer.Port());
    Bytes record("request");
    Received got;
    ASSERT_EQ(io.Syc_sendobj(record, 1, false, false), 0);
    EXPECT_GE(io.handle(), 1024);
    ASSERT_EQ(got.SyncFrom(io), 0);
    closed.get_future().wait();
    EXPECT_EQ(io.Syc_sendobj(record, 1, false, false), 0);  // notices the closed connection
    EXPECT_EQ(got.SyncFrom(io), 0);
    EXPECT_EQ(io.handleSet_->num_set(), 0);
}

/// Tells when a write has come back short, and how often a read came back for nothing.
class WatchedQXIO : public OpenQXIO {
  public:
    using OpenQXIO::OpenQXIO;
    void handle_read_stream(const ACE_Asynch_Read_Stream::Result& result) override {
        failedReads += result.success() != 0 ? 0 : 1;
        OpenQXIO::handle_read_stream(result);
    }
    void AwaitFailedReads(int count) const {
        while (failedReads < count) {
            std::this_thread::yield();
        }
    }
    void handle_write_stream(const ACE_Asynch_Write_Stream::Result& result) override {
        if (result.bytes_transferred() < result.bytes_to_write() && shortWrites++ == 0) {
            cameShort.set_value();
        }
        OpenQXIO::handle_write_stream(result);
    }
    std::atomic<int> failedReads{0};
    std::promise<void> cameShort;
    int shortWrites = 0;
};

// A proxy's handshake leaves a receive time-out behind, and a host may wrap a stream of its own
// that doesn't block: neither ends an asynchronous exchange.
TEST(PosixSockets, AsynchronousOperationsWaitForTheSocketWithoutLimit) {
    for (const bool blocking : {true, false}) {
        StreamPair pair;
        WatchedQXIO io(pair.nearEnd);
        if (blocking) {
            platform::sockets::SetReceiveTimeout(pair.nearEnd.get_handle(), 10);
            timeval patience{0, 10000};  // after which a write returns with what the buffers took
            pair.nearEnd.set_option(SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
        } else {
            pair.nearEnd.enable(ACE_NONBLOCK);
        }
        const std::string frame = Frame(1, Body(300));
        std::thread peer([&] {
            io.AwaitFailedReads(1);
            Write(pair.farEnd, frame.substr(0, 16));
            io.AwaitFailedReads(2);
            Write(pair.farEnd, frame.substr(16));
            io.cameShort.get_future().wait();
            EXPECT_TRUE(ReadFrame(pair.farEnd) == Frame(1, Body(16 << 20)));
        });
        Received got;
        EXPECT_EQ(got.AsyncFrom(io), 0);
        io.failedReads = 2;
        EXPECT_TRUE(got.data != nullptr && got.Body() == Body(300));
        Bytes record(Body(16 << 20));
        EXPECT_EQ(io.Asy_sendobj(record, 1, false), 0);
        EXPECT_GE(io.shortWrites, 1);
        if (io.shortWrites == 0) {
            io.cameShort.set_value();
        }
        pair.nearEnd.close_writer();
        peer.join();
        EXPECT_EQ((fcntl(pair.nearEnd.get_handle(), F_GETFL) & O_NONBLOCK) == 0, blocking);
    }
}

TEST(PosixSockets, KeepAliveProbesAfterFiveSecondsAndEveryFifteen) {
    StreamPair pair;
    OpenQXIO io(pair.nearEnd);
    io.set_keepalive(pair.nearEnd);
    EXPECT_EQ(Option(pair.nearEnd, IPPROTO_TCP, TCP_KEEPIDLE), 5);
    EXPECT_EQ(Option(pair.nearEnd, IPPROTO_TCP, TCP_KEEPINTVL), 15);
}

}  // namespace
}  // namespace CQXBASE
