// What the agent makes of the server's own replies.
#include <gtest/gtest.h>

#include <qxdb/DBAgent.h>

#include "tests/server/test_server.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;
using CQXSERVER::ServerError;

class AgentTest : public testing::Test {
  protected:
    static void Configure(CQXSERVER::ServerOptions& options) {
        options.limits.maxFrameBytes = CQXSERVER::kMiB;
        options.limits.maxConnections = 1;
    }
    bool Login(DBAgent& agent, const std::wstring& password = L"secret") {
        std::wstring info;
        std::wstring token;
        return agent.Login(L"127.0.0.1", server_.Get().Port(), QXProxyInfo(), L"ann|~|" + password,
                           info, token);
    }
    long Execute(const std::wstring& sql) {
        QXCommand command(sql);
        long code = 0;
        std::wstring text;
        agent_.Execute(code, text, command);
        return code;
    }

    TestServer server_{Configure};
    DBAgent agent_;
};

TEST_F(AgentTest, LivesThroughASession) {
    EXPECT_FALSE(Login(agent_, L"wrong"));
    EXPECT_EQ(agent_.errCode_, Number(ServerError::WrongLogin));
    std::wstring token;
    CQXDB_DSType_ENUM type = CQXDB_DS_ODBC;
    CQXDB_DriverType_ENUM driver = CQXDB_DRIVER_ODBC;
    ASSERT_TRUE(agent_.VirLogin(L"127.0.0.1", server_.Get().Port(), QXProxyInfo(), L"ann|~|secret",
                                token, type, driver));
    EXPECT_EQ(type, CQXDB_DS_EMBEDDED);
    EXPECT_EQ(driver, CQXDB_DRIVER_DEFAULT);
    agent_.SetIsLocal(false);
    EXPECT_EQ(Execute(L"SELECT 1"), 0);
    EXPECT_TRUE(agent_.Shakehand());
    EXPECT_TRUE(agent_.SendMsg(L"hello"));
    agent_.VirLogout(L"127.0.0.1", server_.Get().Port(), QXProxyInfo(), L"ann|~|secret");
    EXPECT_EQ(agent_.errCode_, 0);
    EXPECT_EQ(Execute(L"SELECT 1"), Number(ServerError::UnknownToken));
    EXPECT_FALSE(agent_.SendMsg(L"hello"));
}

TEST_F(AgentTest, HearsWhyItIsRefusedAndConnectsAgain) {
    ASSERT_TRUE(Login(agent_));
    agent_.SetIsLocal(false);
    DBAgent second;
    EXPECT_FALSE(Login(second));
    EXPECT_EQ(second.errCode_, Number(ServerError::TooManyConnections));
    EXPECT_EQ(Execute(std::wstring(8 * CQXSERVER::kMiB, L'x')), Number(ServerError::FrameTooLarge));
    EXPECT_TRUE(Eventually([&] { return Execute(L"SELECT 1") == 0; }));
}

}  // namespace
}  // namespace qxdb_test
