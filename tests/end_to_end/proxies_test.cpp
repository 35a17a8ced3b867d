#include <gtest/gtest.h>

#include "tests/support/ProxyServers.h"
#include "tests/support/RemoteAgent.h"

namespace {

using namespace CQXDB;
using namespace qxdb_test;

QXProxyInfo Through(QXProxyKind kind, const ProxyServer& proxy, bool credentials) {
    QXProxyInfo info;
    info.kind = kind;
    info.host = L"127.0.0.1";
    info.port = proxy.Port();
    info.user = credentials ? Wide(kProxyUser) : L"";
    info.password = credentials ? Wide(kProxyPassword) : L"";
    return info;
}

void ExpectAnswer(const QxdbServer& server, const QXProxyInfo& proxy) {
    DBAgent agent;
    LogIn(agent, server, proxy);
    const Answer answer = Query(agent, L"SELECT 6 * 7");
    ASSERT_EQ(answer.code, 0) << answer;
    EXPECT_EQ(answer.rows.GetInt64(0, 0), 42);
}

TEST(AgentThroughProxies, WorksThroughEveryKindAndTellsARefusal) {
    const QxdbServer server(QXDB_SERVER_PROGRAM);
    const auto squid = StartSquid(ProxyAccess::Password);
    ExpectAnswer(server, Through(QXPROXY_HTTP, *squid, true));
    const auto dante = StartDante(ProxyAccess::Open);
    ExpectAnswer(server, Through(QXPROXY_SOCKS4, *dante, false));
    const auto microsocks = StartMicrosocks(ProxyAccess::Password);
    QXProxyInfo wrong = Through(QXPROXY_SOCKS5, *microsocks, true);
    wrong.password = L"wrong";
    DBAgent agent;
    EXPECT_THROW(LogIn(agent, server, wrong), std::runtime_error);
    EXPECT_EQ(agent.errCode_, -1);
    EXPECT_EQ(agent.errText_.find(L"连接代理服务器失败, "), 0U) << Utf8(agent.errText_);
    ExpectAnswer(server, Through(QXPROXY_SOCKS5, *microsocks, true));
}

}  // namespace
