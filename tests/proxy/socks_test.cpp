#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "proxy/proxy_handshake.h"
#include "tests/proxy/scripted_peer.h"
#include "tests/support/Hex.h"

namespace CQXBASE {
namespace {

using qxdb_test::FromHex;
using qxdb_test::ToHex;

struct Answered {
    int result;
    std::string sent;  ///< hexadecimal
};

/// Runs the handshake against a proxy that awaits requests of these lengths and answers each.
Answered Ask(const ProxyParam& proxy, const std::vector<ScriptedPeer::Step>& script,
             const std::string& host = "10.1.2.3") {
    ScriptedPeer peer(script);
    std::wstring errText = L"untouched";
    const int result = ProxyHandshake(proxy, peer.Socket(), host, 8080, errText);
    EXPECT_EQ(L"untouched", errText);
    return {result, ToHex(peer.Received())};
}

ProxyParam Socks5(const std::string& user, const std::string& password) {
    return {kProxySocks5, "proxy", 1080, user, password};
}

const ProxyParam kSocks4{kProxySocks4, "proxy", 1080, "user", "password"};
const std::string kGranted5 = FromHex("05 00 00 01 00 00 00 00 00 00");
const std::string kRequest5 = "05 01 00 01 0a 01 02 03 1f 90";

TEST(Socks4, OneRequestOneAnswer) {
    const Answered granted = Ask(kSocks4, {{9, FromHex("00 5a 1f 90 0a 01 02 03")}});
    EXPECT_EQ(kProxyDone, granted.result);
    EXPECT_EQ("04 01 1f 90 0a 01 02 03 00", granted.sent) << "the user is never sent";
    for (const char* refusal : {"00 5b", "00 5c", "00 00", "04 5a", "5a 00", "00"}) {
        EXPECT_EQ(kProxyFailed, Ask(kSocks4, {{9, FromHex(refusal)}}).result) << refusal;
    }
}

TEST(Socks4, HostNamesAskForTheBroadcastAddress) {
    const Answered refused = Ask(kSocks4, {{9, FromHex("00 5b")}}, "db.example.com");
    EXPECT_EQ("04 01 1f 90 ff ff ff ff 00", refused.sent);
}

TEST(Socks5, WithoutUser) {
    const Answered granted = Ask(Socks5("", "ignored"), {{3, FromHex("05 00")}, {10, kGranted5}});
    EXPECT_EQ(kProxyDone, granted.result);
    EXPECT_EQ("05 01 00 " + kRequest5, granted.sent);
}

TEST(Socks5, WithUserAndPassword) {
    const Answered granted =
        Ask(Socks5("user", "pw"), {{3, FromHex("05 02")}, {9, FromHex("01 00")}, {10, kGranted5}});
    EXPECT_EQ(kProxyDone, granted.result);
    EXPECT_EQ("05 01 02 01 04 75 73 65 72 02 70 77 " + kRequest5, granted.sent);
}

TEST(Socks5, TheProxysChoiceOfMethodDecides) {
    const Answered unasked = Ask(Socks5("", std::string(600, 'p')),
                                 {{3, FromHex("05 02")}, {3, FromHex("01 00")}, {10, kGranted5}});
    EXPECT_EQ(kProxyDone, unasked.result);
    EXPECT_EQ("05 01 00 01 00 00 " + kRequest5, unasked.sent) << "no password without a user";
    const Answered waived = Ask(Socks5("user", "pw"), {{3, FromHex("05 00")}, {10, kGranted5}});
    EXPECT_EQ(kProxyDone, waived.result);
    EXPECT_EQ("05 01 02 " + kRequest5, waived.sent);
}

TEST(Socks5, RefusalsAtEveryStepEndTheHandshake) {
    for (const char* choice : {"05 ff", "05 01", "04 00", "00 00", "48 54"}) {
        const Answered refused = Ask(Socks5("", ""), {{3, FromHex(choice)}});
        EXPECT_EQ(kProxyFailed, refused.result) << choice;
        EXPECT_EQ("05 01 00", refused.sent) << choice;
    }
    for (const char* verdict : {"01 01", "01 ff", "05 00", "00 00"}) {
        const Answered refused =
            Ask(Socks5("u", "p"), {{3, FromHex("05 02")}, {5, FromHex(verdict)}});
        EXPECT_EQ(kProxyFailed, refused.result) << verdict;
        EXPECT_EQ("05 01 02 01 01 75 01 70", refused.sent) << verdict;
    }
    for (const char* reply : {"05 01", "05 08", "04 00", "00 5a"}) {
        EXPECT_EQ(kProxyFailed,
                  Ask(Socks5("", ""), {{3, FromHex("05 00")}, {10, FromHex(reply)}}).result)
            << reply;
    }
}

TEST(Socks5, CredentialsFillTheBufferButNeverOverflowIt) {
    const std::string user(255, 'u');
    const std::string longest(254, 'p');
    const Answered taken = Ask(Socks5(user, longest),
                               {{3, FromHex("05 02")}, {512, FromHex("01 00")}, {10, kGranted5}});
    EXPECT_EQ(kProxyDone, taken.result);
    EXPECT_EQ(ToHex("\x05\x01\x02\x01\xff" + user + "\xfe" + longest) + " " + kRequest5,
              taken.sent);
    const Answered refused = Ask(Socks5(user, longest + "p"), {{3, FromHex("05 02")}});
    EXPECT_EQ(kProxyFailed, refused.result);
    EXPECT_EQ("05 01 02", refused.sent) << "nothing of such credentials is sent";
    const Answered truncated =
        Ask(Socks5(std::string(300, 'u'), ""), {{3, FromHex("05 02")}, {303, FromHex("01 01")}});
    EXPECT_EQ(ToHex("\x05\x01\x02\x01\x2c" + std::string(300, 'u')) + " 00", truncated.sent)
        << "whole, behind the low 8 bits of its length";
}

}  // namespace
}  // namespace CQXBASE
