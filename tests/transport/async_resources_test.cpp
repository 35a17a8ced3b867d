// What the asynchronous exchange takes of the process, and how it lives with the process's signals.
#include <atomic>
#include <csignal>
#include <dirent.h>
#include <functional>
#include <list>
#include <malloc.h>
#include <pthread.h>

#include <gtest/gtest.h>

#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"

namespace CQXBASE {
namespace {

std::size_t Entries(const char* directory) {
    DIR* const listing = opendir(directory);
    std::size_t count = 0;
    while (readdir(listing) != nullptr) {
        ++count;
    }
    closedir(listing);
    return count;
}

struct Usage {
    std::size_t descriptors = Entries("/proc/self/fd");
    std::size_t threads = Entries("/proc/self/task");
    std::size_t bytes = mallinfo2().uordblks;
};

void Exchange(OpenQXIO& near, OpenQXIO& far, std::size_t size) {
    Bytes record(std::string(size, 'x'));
    Received got;
    ASSERT_EQ(near.Asy_sendobj(record, 1, false), 0);
    ASSERT_EQ(got.AsyncFrom(far), 0);
    ASSERT_EQ(got.length, size);
}

/// Does the work so often that the allocator's caches are full, then a thousand times more.
void ExpectNothingLeftOf(const std::function<void()>& work) {
    const LogCapture log;
    for (int i = 0; i < 300; ++i) {
        work();
    }
    const Usage before;
    for (int i = 0; i < 1000; ++i) {
        work();
    }
    const Usage after;
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.bytes, before.bytes + 10000);  // 10 a time
}

TEST(AsyncResources, FramesAndTransportsLeaveNothingBehind) {
    StreamPair pair;
    OpenQXIO near(pair.nearEnd);
    OpenQXIO far(pair.farEnd);
    ExpectNothingLeftOf([&] {
        for (const std::size_t size : {1U, 10U, 100U, 400U, 999U}) {
            Exchange(near, far, size);
        }
    });
    ExpectNothingLeftOf([] {
        StreamPair own;
        OpenQXIO sender(own.nearEnd);
        OpenQXIO receiver(own.farEnd);
        Exchange(sender, receiver, 10);
    });
}

TEST(AsyncResources, ManyTransportsAtOnceSayNothing) {
    testing::internal::CaptureStderr();
    std::list<StreamPair> pairs(30);
    std::list<OpenQXIO> nears;
    std::list<OpenQXIO> fars;
    for (StreamPair& pair : pairs) {
        nears.emplace_back(pair.nearEnd);
        fars.emplace_back(pair.farEnd);
        Exchange(nears.back(), fars.back(), 1000);
    }
    Exchange(nears.front(), fars.front(), 1000);
    nears.clear();
    fars.clear();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

std::atomic<int> signalsTaken{0};

/// Tells when the header has been read: then the transport waits for the body.
class WaitingQXIO : public OpenQXIO {
  public:
    using OpenQXIO::OpenQXIO;
    void handle_read_stream(const ACE_Asynch_Read_Stream::Result& result) override {
        OpenQXIO::handle_read_stream(result);
        waiting = true;
    }
    std::atomic<bool> waiting{false};
};

TEST(AsyncResources, SignalsDontEndAReceive) {
    struct sigaction counting {};
    struct sigaction before {};
    counting.sa_handler = [](int) { ++signalsTaken; };
    sigaction(SIGUSR1, &counting, &before);
    const LogCapture log;
    StreamPair pair;
    WaitingQXIO io(pair.nearEnd);
    const pthread_t receiver = pthread_self();
    std::thread peer([&] {
        const std::string frame = Frame(1, "twelve bytes");
        Write(pair.farEnd, frame.substr(0, 16));
        while (!io.waiting) {
            std::this_thread::yield();
        }
        for (int i = 1; i <= 50; ++i) {
            pthread_kill(receiver, SIGUSR1);
            while (signalsTaken < i) {
                std::this_thread::yield();
            }
        }
        Write(pair.farEnd, frame.substr(16));
    });
    Received got;
    EXPECT_EQ(got.AsyncFrom(io), 0);
    peer.join();
    sigaction(SIGUSR1, &before, nullptr);
    EXPECT_EQ(signalsTaken, 50);
    EXPECT_EQ(got.Body(), "twelve bytes");
}

}  // namespace
}  // namespace CQXBASE
