#include "proxy/proxy_handshake.h"

#include <array>
#include <future>
#include <string>

#include <gtest/gtest.h>

#include "proxy/socket_io.h"
#include "tests/proxy/scripted_peer.h"
#include "tests/support/PeakMemory.h"

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

/// Asks a proxy that takes every request and never answers.
Answered AskSilentProxy(std::uint32_t kind) {
    ScriptedPeer peer({});
    Answered outcome{-1, L"old text", ""};
    outcome.result =
        ProxyHandshake({kind, "", 0, "", ""}, peer.Socket(), "10.0.0.5", 9000, outcome.errText);
    if (kind == kProxyNone) {
        char byte = 0;
        EXPECT_EQ(-1, peer.Stream().recv(&byte, 1)) << "the time-out stays for later reads";
    }
    return outcome;
}

TEST(ProxyHandshake, SilenceEndsEveryHandshakeAndEveryLaterRead) {
    std::array<std::future<Answered>, 4> all;
    for (std::uint32_t kind = 0; kind < all.size(); ++kind) {
        all[kind] = std::async(std::launch::async, AskSilentProxy, kind);
    }
    const std::wstring request =
        L"CONNECT 10.0.0.5:9000 HTTP/1.1\r\nUser-Agent: QXClient/0.1\r\n\r\n";
    for (std::uint32_t kind = 0; kind < all.size(); ++kind) {
        const Answered outcome = all[kind].get();
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

/// A proxy that hangs up after its answers.
int AskLiar(const ProxyParam& proxy, const std::vector<ScriptedPeer::Step>& script) {
    const Answered outcome = Ask(proxy, script, "10.1.2.3", ScriptedPeer::End::HangUp);
    EXPECT_LE(outcome.errText.size(), 512U);
    return outcome.result;
}

/// Answers cut at each byte, with other bytes at each place, and with a flood behind them.
TEST(ProxyHandshake, NoLieHangsOrCostsMemory) {
    const std::string granted("\5\0\0\1\0\0\0\0\0\0", 10);
    const std::string chosen("\5\2", 2);
    const std::string welcome("\1\0", 2);
    struct Case {
        ProxyParam proxy;
        std::vector<ScriptedPeer::Step> honest;
    };
    const Case cases[] = {
        {{kProxyHttp, "", 0, "", ""}, {{50, "HTTP/1.1 200 Connection established\r\n\r\n"}}},
        {{kProxySocks4, "", 0, "", ""}, {{9, std::string("\0\x5a\0\0\0\0\0\0", 8)}}},
        {{kProxySocks5, "", 0, "u", "p"}, {{3, chosen}, {5, welcome}, {10, granted}}},
    };
    const qxdb_test::PeakMemory memory;
    for (const Case& each : cases) {
        ASSERT_EQ(kProxyDone, AskLiar(each.proxy, each.honest)) << each.proxy.type;
        for (std::size_t step = 0; step < each.honest.size(); ++step) {
            const std::string& answer = each.honest[step].answer;
            std::vector<ScriptedPeer::Step> lying = each.honest;
            lying[step].answer = answer + std::string(std::size_t{1} << 20, '\xff');
            AskLiar(each.proxy, lying);
            for (std::size_t place = 0; place < answer.size(); ++place) {
                for (const char byte : {'\0', '\1', '\x7f', '\x80', '\xff'}) {
                    lying[step].answer = answer;
                    lying[step].answer[place] = byte;
                    AskLiar(each.proxy, lying);
                }
            }
            for (std::size_t length = 0; length < answer.size(); ++length) {
                lying.resize(step + 1);  // a proxy that hangs up in the middle
                lying[step].answer = answer.substr(0, length);
                const int result = AskLiar(each.proxy, lying);
                EXPECT_TRUE(length > 0 || result == kProxyFailed) << each.proxy.type << ' ' << step;
            }
        }
    }
    EXPECT_LT(memory.Growth(), std::size_t{64} << 20);
}

TEST(SocketIo, SendAllSendsMoreThanTheSocketBuffers) {
    const std::string bytes(3'000'000, 'b');
    ScriptedPeer peer({});
    EXPECT_TRUE(SendAll(peer.Socket(), bytes.data(), static_cast<int>(bytes.size())));
    EXPECT_TRUE(peer.Received() == bytes);
}

}  // namespace
}  // namespace CQXBASE
