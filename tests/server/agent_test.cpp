// What the agent makes of a server that refuses and hangs up.
#include <gtest/gtest.h>

#include <qxdb/DBAgent.h>

#include "tests/server/test_server.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;
using CQXSERVER::ServerError;

TEST(Agent, HearsWhyItIsRefusedAndConnectsAgain) {
    TestServer server([](CQXSERVER::ServerOptions& options) {
        options.limits.maxFrameBytes = CQXSERVER::kMiB;
        options.limits.maxConnections = 1;
    });
    DBAgent agent;
    DBAgent second;
    const auto login = [&server](DBAgent& who) {
        std::wstring info;
        std::wstring token;
        return who.Login(L"127.0.0.1", server.Get().Port(), QXProxyInfo(), L"ann|~|secret", info,
                         token);
    };
    const auto execute = [&agent](const std::wstring& sql) {
        QXCommand command(sql);
        long code = 0;
        std::wstring text;
        agent.Execute(code, text, command);
        return code;
    };
    ASSERT_TRUE(login(agent));
    agent.SetIsLocal(false);
    EXPECT_FALSE(login(second));
    EXPECT_EQ(second.errCode_, Number(ServerError::TooManyConnections));
    EXPECT_EQ(execute(std::wstring(8 * CQXSERVER::kMiB, L'x')), Number(ServerError::FrameTooLarge));
    EXPECT_TRUE(Eventually([&] { return execute(L"SELECT 1") == 0; }));
}

}  // namespace
}  // namespace qxdb_test
