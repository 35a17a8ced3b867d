#include <thread>

#include <gtest/gtest.h>

#include "tests/support/RemoteAgent.h"

namespace {

using namespace CQXDB;
using namespace qxdb_test;

// Sessions live in the server's memory: after a restart the connection comes back by itself, and
// the old token is refused until the next login.
TEST(AgentReconnects, AfterTheServerWasStartedAgain) {
    QxdbServer server(QXDB_SERVER_PROGRAM);
    DBAgent agent;
    LogIn(agent, server);
    long code = 0;
    std::wstring text;
    QXCommand create(L"CREATE TABLE kept (x INTEGER)");
    agent.Execute(code, text, create);
    ASSERT_EQ(code, 0) << Utf8(text);
    for (int round = 0; round < 2; ++round) {
        round == 0 ? server.Stop() : server.Kill();
        server.Start();
        QXCommand insert(L"INSERT INTO kept VALUES (1)");
        agent.Execute(code, text, insert);
        EXPECT_LT(code, 0) << "the old token was taken";
        LogIn(agent, server);
        agent.Execute(code, text, insert);
        EXPECT_EQ(code, 0) << Utf8(text);
    }
    QXCommand count(L"SELECT COUNT(*) FROM kept");
    QXRecordset rows;
    agent.OpenQuery(code, text, count, rows);
    EXPECT_EQ(rows.GetInt64(0, 0), 2);
    server.Stop();
    agent.Execute(code, text, count);
    EXPECT_EQ(code, 10061) << Utf8(text);
}

TEST(AgentThreads, EachThreadsAgentGetsItsOwnAnswers) {
    const QxdbServer server(QXDB_SERVER_PROGRAM);
    long wrong[4] = {};
    std::thread threads[4];
    for (int who = 0; who < 4; ++who) {
        threads[who] = std::thread([&, who] {
            DBAgent agent;
            LogIn(agent, server);
            for (int i = 0; i < 50; ++i) {
                long code = 0;
                std::wstring text;
                QXCommand query(L"SELECT ?, ?");
                query.AddParam(QXValue::Int64(who));
                query.AddParam(QXValue::Int64(i));
                QXRecordset rows;
                agent.OpenQuery(code, text, query, rows);
                wrong[who] += code != 0 || rows.GetInt64(0, 0) != who || rows.GetInt64(0, 1) != i;
            }
        });
    }
    for (std::thread& each : threads) {
        each.join();
    }
    EXPECT_EQ(wrong[0] + wrong[1] + wrong[2] + wrong[3], 0);
}

}  // namespace
