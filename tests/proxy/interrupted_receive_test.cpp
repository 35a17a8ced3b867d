#include <array>
#include <atomic>
#include <csignal>
#include <pthread.h>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "proxy/socket_io.h"
#include "tests/proxy/scripted_peer.h"

namespace CQXBASE {
namespace {

std::atomic<int> signals{0};

// A host's profiler or timer signals its threads all the time.
TEST(SocketIo, SignalsDoNotEndAReceive) {
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = [](int) { ++signals; };  // without SA_RESTART
    ASSERT_EQ(0, sigaction(SIGUSR1, &action, &before));
    ScriptedPeer peer({{1, "answer"}});
    std::array<char, 7> buffer{};
    std::atomic<bool> ended{false};
    std::thread receiver([&] {
        RecvOnce(peer.Socket(), buffer.data(), 6);
        ended = true;
    });
    for (int sent = 1; sent <= 200 && !ended; ++sent) {
        EXPECT_EQ(0, pthread_kill(receiver.native_handle(), SIGUSR1));
        while (signals < sent && !ended) {
            std::this_thread::yield();
        }
    }
    EXPECT_TRUE(SendAll(peer.Socket(), "?", 1));
    receiver.join();
    EXPECT_EQ("answer", std::string(buffer.data()));
    sigaction(SIGUSR1, &before, nullptr);
}

}  // namespace
}  // namespace CQXBASE
