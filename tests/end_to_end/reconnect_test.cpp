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
    const Answer made = Execute(agent, L"CREATE TABLE kept (x INTEGER)");
    ASSERT_EQ(made.code, 0) << made;
    for (int round = 0; round < 2; ++round) {
        round == 0 ? server.Stop() : server.Kill();
        server.Start();
        const Answer old = Execute(agent, L"INSERT INTO kept VALUES (1)");
        EXPECT_LT(old.code, 0) << "the old token was taken, or nobody reached: " << old;
        LogIn(agent, server);
        const Answer done = Execute(agent, L"INSERT INTO kept VALUES (1)");
        EXPECT_EQ(done.code, 0) << done;
    }
    EXPECT_EQ(Query(agent, L"SELECT COUNT(*) FROM kept").rows.GetInt64(0, 0), 2);
    server.Stop();
    const Answer gone = Query(agent, L"SELECT 1");
    EXPECT_EQ(gone.code, 10061) << gone;
}

}  // namespace
