#include <string>

#include <gtest/gtest.h>

#include "errors/qx_exception.h"
#include "proxy/proxy_handshake.h"
#include "tests/proxy/scripted_peer.h"

namespace CQXBASE {
namespace {

const std::string kPlainRequest =
    "CONNECT 10.1.2.3:8080 HTTP/1.1\r\nUser-Agent: QXClient/0.1\r\n\r\n";

ProxyParam Http(const std::string& user = "", const std::string& password = "") {
    return {kProxyHttp, "proxy", 3128, user, password};
}

Answered AskPlain(const std::string& answer) {
    return Ask(Http(), {{kPlainRequest.size(), answer}});
}

TEST(HttpConnect, RequestWithoutAndWithCredentials) {
    EXPECT_EQ(kPlainRequest, AskPlain("HTTP/1.1 200 Connection established\r\n\r\n").sent);
    const std::string request =
        "CONNECT 10.1.2.3:8080 HTTP/1.1\r\nProxy-Connection: Keep-Alive\r\nHost: 10.1.2.3:8080\r\n"
        "Proxy-Authorization: Basic dTpw\r\nUser-Agent: QXClient/19.1\r\n\r\n";
    const Answered outcome =
        Ask(Http("u", "p"), {{request.size(), "HTTP/1.1 200 Connection established\r\n\r\n"}});
    EXPECT_EQ(request, outcome.sent);
    EXPECT_EQ(kProxyDone, outcome.result);
}

TEST(HttpConnect, LongCredentialsKeepTheirLineBreak) {
    const std::string sent = Ask(Http(std::string(56, '\x7f'), "pp"), {{1, "no"}}).sent;
    EXPECT_NE(std::string::npos, sent.find("\r\ncHA=\r\nUser-Agent: ")) << sent;
}

TEST(HttpConnect, TheReasonPhraseAnywhereIsAConsentAndAllElseARefusalThatIsReported) {
    for (const char* answer :
         {"HTTP/1.0 200 Connection established\r\n\r\nearly bytes of the server",
          "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 Connection established\r\n\r\n"}) {
        const Answered outcome = AskPlain(answer);
        EXPECT_EQ(kProxyDone, outcome.result) << answer;
        EXPECT_EQ(L"", outcome.errText);
    }
    for (const std::string answer :
         {"HTTP/1.1 200 OK\r\n\r\n", "HTTP/1.1 200 Connection Established\r\n\r\n",
          "HTTP/2.0 200 Connection established\r\n\r\n", "HTTP/1.1 407 Who are you\r\n\r\n",
          "HTTP/1.1 200 Connection estab"}) {
        const Answered outcome = AskPlain(answer);
        EXPECT_EQ(kProxyFailed, outcome.result) << answer;
        const std::string text = answer + kPlainRequest.substr(answer.size());
        EXPECT_EQ(std::wstring(text.begin(), text.end()), outcome.errText)
            << "a short answer leaves the request's end standing behind it";
    }
}

TEST(HttpConnect, AnAnswerThatFillsTheBufferIsReadToItsEndOnly) {
    const std::string phrase = "HTTP/1.1 200 Connection established";
    const std::string atTheEnd = std::string(512 - phrase.size(), 'x') + phrase;
    EXPECT_EQ(kProxyDone, AskPlain(atTheEnd).result);
    EXPECT_EQ(kProxyFailed, AskPlain("x" + atTheEnd).result) << "the last letter is the 513th byte";
    EXPECT_EQ(std::wstring(512, L'x'), AskPlain(std::string(512, 'x')).errText);
    EXPECT_EQ(L"x", AskPlain("x" + std::string(1, '\0') + phrase).errText)
        << "a NUL ends the answer";
}

TEST(HttpConnect, RequestsBeyond511BytesThrowUnsent) {
    const std::string fixed = "CONNECT :1 HTTP/1.1\r\nUser-Agent: QXClient/0.1\r\n\r\n";
    const std::string longest(511 - fixed.size(), 'h');
    std::wstring errText;
    ScriptedPeer fits({{511, "HTTP/1.0 200 Connection established\r\n\r\n"}});
    EXPECT_EQ(kProxyDone, ProxyHandshake(Http(), fits.Socket(), longest, 1, errText));
    ScriptedPeer unused({});
    try {
        ProxyHandshake(Http(), unused.Socket(), longest + "h", 1, errText);
        FAIL() << "took a request of 512 bytes";
    } catch (const QX_Exception& refused) {
        EXPECT_EQ(L"call function error.\n", refused.describe());
    }
    EXPECT_THROW(ProxyHandshake(Http("u", std::string(600, 'p')), unused.Socket(), "h", 1, errText),
                 QX_Exception);
    EXPECT_EQ("", unused.Received());
}

}  // namespace
}  // namespace CQXBASE
