#include <chrono>
#include <csignal>

#include <gtest/gtest.h>

#include "tests/support/RemoteAgent.h"

namespace {

using namespace CQXDB;
using namespace qxdb_test;

TEST(AgentReconnects, AfterTheServerHasClosedItsIdleConnection) {
    const TempDir folder;
    WriteFile(folder.File("c.toml"), "limits.idle_timeout_s = 0.05\n");
    QxdbServer server(QXDB_SERVER_PROGRAM, {"--config", folder.File("c.toml")});
    DBAgent agent;
    LogIn(agent, server);
    bool closed = false;
    for (int i = 0; i < 60 && !closed; ++i) {
        kill(server.Pid(), SIGUSR1);
        closed = server.Process().WaitForText(" 1 timed out", std::chrono::seconds(1));
    }
    ASSERT_TRUE(closed);
    long code = 0;
    std::wstring text;
    QXCommand select(L"SELECT 1");
    agent.Execute(code, text, select);
    EXPECT_EQ(code, 0) << Utf8(text);
}

}  // namespace
