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

/// What is sent to a SOCKS proxy comes in hexadecimal, and no error text with it.
Answered AskSocks(const ProxyParam& proxy, const std::vector<ScriptedPeer::Step>& script,
                  const std::string& host = "10.1.2.3") {
    Answered outcome = Ask(proxy, script, host);
    EXPECT_EQ(L"old text", outcome.errText);
    outcome.sent = ToHex(outcome.sent);
    return outcome;
}

ProxyParam Socks5(const std::string& user, const std::string& password) {
    return {kProxySocks5, "proxy", 1080, user, password};
}

const ProxyParam kSocks4{kProxySocks4, "proxy", 1080, "user", "password"};
const std::string kGranted5 = FromHex("05 00 00 01 00 00 00 00 00 00");
const std::string kRequest5 = "05 01 00 01 0a 01 02 03 1f 90";

TEST(Socks4, OneRequestOneAnswer) {
    const Answered granted = AskSocks(kSocks4, {{9, FromHex("00 5a 1f 90 0a 01 02 03")}});
    EXPECT_EQ(kProxyDone, granted.result);
    EXPECT_EQ("04 01 1f 90 0a 01 02 03 00", granted.sent) << "the user is never sent";
    for (const char* refusal : {"00 5b", "00 5c", "00 00", "04 5a", "5a 00", "00"}) {
        EXPECT_EQ(kProxyFailed, AskSocks(kSocks4, {{9, FromHex(refusal)}}).result) << refusal;
    }
    EXPECT_EQ("04 01 1f 90 ff ff ff ff 00",
              AskSocks(kSocks4, {{9, FromHex("00 5b")}}, "db.example.com").sent)
        << "names ask for the broadcast address";
}

TEST(Socks5, TheProxysChoiceOfMethodDecides) {
    const ScriptedPeer::Step open{3, FromHex("05 00")};
    const ScriptedPeer::Step asking{3, FromHex("05 02")};
    const ScriptedPeer::Step granted{10, kGranted5};
    struct Case {
        ProxyParam proxy;
        std::vector<ScriptedPeer::Step> script;
        std::string sent;
    };
    for (const Case& each : {Case{Socks5("", "ignored"), {open, granted}, "05 01 00 "},
                             {Socks5("", std::string(600, 'p')),
                              {asking, {3, FromHex("01 00")}, granted},
                              "05 01 00 01 00 00 "},
                             {Socks5("user", "pw"), {open, granted}, "05 01 02 "},
                             {Socks5("user", "pw"),
                              {asking, {9, FromHex("01 00")}, granted},
                              "05 01 02 01 04 75 73 65 72 02 70 77 "}}) {
        const Answered outcome = AskSocks(each.proxy, each.script);
        EXPECT_EQ(kProxyDone, outcome.result) << each.sent;
        EXPECT_EQ(each.sent + kRequest5, outcome.sent);
    }
}

TEST(Socks5, RefusalsAtEveryStepEndTheHandshake) {
    for (const char* choice : {"05 ff", "05 01", "04 00", "00 00", "48 54"}) {
        const Answered refused = AskSocks(Socks5("", ""), {{3, FromHex(choice)}});
        EXPECT_EQ(kProxyFailed, refused.result) << choice;
        EXPECT_EQ("05 01 00", refused.sent) << choice;
    }
    for (const char* verdict : {"01 01", "01 ff", "05 00", "00 00"}) {
        const Answered refused =
            AskSocks(Socks5("u", "p"), {{3, FromHex("05 02")}, {5, FromHex(verdict)}});
        EXPECT_EQ(kProxyFailed, refused.result) << verdict;
        EXPECT_EQ("05 01 02 01 01 75 01 70", refused.sent) << verdict;
    }
    for (const char* reply : {"05 01", "05 08", "04 00", "00 5a"}) {
        EXPECT_EQ(kProxyFailed,
                  AskSocks(Socks5("", ""), {{3, FromHex("05 00")}, {10, FromHex(reply)}}).result)
            << reply;
    }
}

TEST(Socks5, CredentialsFillTheBufferButNeverOverflowIt) {
    const std::string user(255, 'u');
    const std::string longest(254, 'p');
    const Answered taken = AskSocks(
        Socks5(user, longest), {{3, FromHex("05 02")}, {512, FromHex("01 00")}, {10, kGranted5}});
    EXPECT_EQ(kProxyDone, taken.result);
    EXPECT_EQ(ToHex("\x05\x01\x02\x01\xff" + user + "\xfe" + longest) + " " + kRequest5,
              taken.sent);
    const Answered refused = AskSocks(Socks5(user, longest + "p"), {{3, FromHex("05 02")}});
    EXPECT_EQ(kProxyFailed, refused.result);
    EXPECT_EQ("05 01 02", refused.sent) << "nothing of such credentials is sent";
    const Answered truncated = AskSocks(Socks5(std::string(300, 'u'), ""),
                                        {{3, FromHex("05 02")}, {303, FromHex("01 01")}});
    EXPECT_EQ(ToHex("\x05\x01\x02\x01\x2c" + std::string(300, 'u')) + " 00", truncated.sent)
        << "whole, behind the low 8 bits of its length";
}

}  // namespace
}  // namespace CQXBASE
