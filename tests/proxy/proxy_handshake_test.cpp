#include "proxy/proxy_handshake.h"

#include <array>
#include <future>
#include <string>

#include <gtest/gtest.h>

#include "proxy/socket_io.h"
#include "tests/proxy/scripted_peer.h"

namespace CQXBASE {
namespace {

TEST(ProxyHandshake, UnknownKindsFailButLeaveTheSocketBlocking) {
    for (const std::uint32_t kind : {0U, 4U, 0xFFFFFFFFU}) {
        ScriptedPeer peer({{1, "answer"}});
        peer.Stream().enable(ACE_NONBLOCK);
        std::wstring errText = L"untouched";
        EXPECT_EQ(kProxyFailed,
                  ProxyHandshake({kind, "", 0, "", ""}, peer.Socket(), "h", 1, errText));
        EXPECT_EQ(L"untouched", errText);
        std::array<char, 6> answer{};
        ASSERT_EQ(1, peer.Stream().send("?", 1));
        EXPECT_EQ(6, peer.Stream().recv(answer.data(), answer.size())) << "waits for the answer";
        EXPECT_EQ("?", peer.Received()) << "asked for no tunnel";
    }
}

struct GivenUp {
    int result;
    std::wstring errText;
};

/// Asks a proxy that takes every request and never answers.
GivenUp AskSilentProxy(std::uint32_t kind) {
    ScriptedPeer peer({});
    GivenUp outcome{-1, L"old text"};
    outcome.result =
        ProxyHandshake({kind, "", 0, "", ""}, peer.Socket(), "10.0.0.5", 9000, outcome.errText);
    if (kind == kProxyNone) {
        char byte = 0;
        EXPECT_EQ(-1, peer.Stream().recv(&byte, 1)) << "the time-out stays for later reads";
    }
    return outcome;
}

TEST(ProxyHandshake, SilenceEndsEveryHandshakeAndEveryLaterRead) {
    std::array<std::future<GivenUp>, 4> all;
    for (std::uint32_t kind = 0; kind < all.size(); ++kind) {
        all[kind] = std::async(std::launch::async, AskSilentProxy, kind);
    }
    const std::wstring request =
        L"CONNECT 10.0.0.5:9000 HTTP/1.1\r\nUser-Agent: QXClient/0.1\r\n\r\n";
    for (std::uint32_t kind = 0; kind < all.size(); ++kind) {
        const GivenUp outcome = all[kind].get();
        EXPECT_EQ(kProxyFailed, outcome.result) << kind;
        EXPECT_EQ(kind == kProxyHttp ? request : L"old text", outcome.errText) << kind;
    }
}

TEST(ProxyHandshake, APeerThatHangsUpFailsWithoutASignal) {
    for (const std::uint32_t kind : {kProxyHttp, kProxySocks4, kProxySocks5}) {
        ScriptedPeer peer({}, ScriptedPeer::End::HangUp);
        std::wstring errText;
        EXPECT_EQ(kProxyFailed,
                  ProxyHandshake({kind, "", 0, "", ""}, peer.Socket(), "h", 1, errText));
        // The first send after the hang-up may still be taken; one of the next is refused.
        bool taken = true;
        for (int tries = 0; taken && tries < 1000; ++tries) {
            taken = SendAll(peer.Socket(), "more", 4);
        }
        EXPECT_FALSE(taken);
    }
}

TEST(SocketIo, SendAllSendsMoreThanTheSocketBuffers) {
    const std::string bytes(3'000'000, 'b');
    ScriptedPeer peer({});
    EXPECT_TRUE(SendAll(peer.Socket(), bytes.data(), static_cast<int>(bytes.size())));
    EXPECT_TRUE(peer.Received() == bytes);
}

TEST(SocketIo, RecvOnceKeepsWithinItsCapacityAndLeavesTheRest) {
    ScriptedPeer peer({{0, "abcdef"}});
    std::array<char, 4> buffer{'-', '-', '-', '-'};
    std::size_t waiting = 0;
    while (waiting < 6) {
        std::array<char, 6> peek{};
        waiting = static_cast<std::size_t>(peer.Stream().recv(peek.data(), peek.size(), MSG_PEEK));
    }
    RecvOnce(peer.Socket(), buffer.data(), 3);
    EXPECT_EQ("abc-", std::string(buffer.data(), buffer.size()));
    RecvOnce(peer.Socket(), buffer.data(), 0);
    EXPECT_EQ('a', buffer[0]);
    RecvOnce(peer.Socket(), buffer.data(), 4);
    EXPECT_EQ("def-", std::string(buffer.data(), buffer.size()));
}

}  // namespace
}  // namespace CQXBASE
