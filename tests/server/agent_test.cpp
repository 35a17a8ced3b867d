// The server as the agent sees it.
#include <gtest/gtest.h>

#include <qxdb/DBAgent.h>

#include "tests/server/test_server.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;
using CQXSERVER::ServerError;

class AgentTest : public testing::Test {
  protected:
    bool Login(DBAgent& agent, const std::wstring& login) {
        return agent.Login(L"127.0.0.1", server_.Get().Port(), QXProxyInfo(), login, info_, token_);
    }
    void SetUp() override {
        ASSERT_TRUE(Login(agent_, L"ann|~|secret")) << agent_.errCode_;
        agent_.SetIsLocal(false);
    }
    void Execute(const std::wstring& sql) {
        QXCommand command(sql);
        agent_.Execute(code_, text_, command);
    }

    TestServer server_;
    DBAgent agent_;
    std::wstring info_;
    std::wstring token_;
    long code_ = -1;
    std::wstring text_;
};

TEST_F(AgentTest, WorksAsIfTheDatabaseWereHere) {
    Execute(L"CREATE TABLE t(n INTEGER, b BLOB)");
    ASSERT_EQ(code_, 0);
    const std::string blob(5 * CQXSERVER::kMiB, '\x5a');
    QXCommandList rows;
    for (std::int64_t n = 1; n <= 10; ++n) {
        QXCommand insert(L"INSERT INTO t VALUES (?, ?)");
        insert.AddParam(QXValue::Int64(n));
        insert.AddParam(n == 5 ? QXValue::Blob(blob.data(), blob.size()) : QXValue::Null());
        rows.Add(insert);
    }
    agent_.Execute(code_, text_, rows);
    ASSERT_EQ(code_, 0);

    QXRecordset rs;
    QXCommand select(L"SELECT n, b FROM t ORDER BY n");
    agent_.OpenQuery(code_, text_, select, rs, 4, 2);
    ASSERT_EQ(code_, 0);
    ASSERT_EQ(rs.RowCount(), 4U);
    EXPECT_EQ(rs.GetInt64(0, 0), 5);
    EXPECT_EQ(rs.GetBytes(0, 1), blob);

    QXRsList results;
    QXCommandList batch;
    batch.Add(QXCommand(L"SELECT count(*) FROM t"));
    batch.Add(QXCommand(L"SELECT n FROM t WHERE n > 7"));
    agent_.BatchQry(code_, text_, batch, results);
    ASSERT_EQ(results.Count(), 2U);
    EXPECT_EQ(results.At(0).GetInt64(0, 0), 10);
    EXPECT_EQ(results.At(1).RowCount(), 3U);
}

TEST_F(AgentTest, ReportsErrorsAndGoesOn) {
    Execute(L"INSERT INTO missing VALUES (1)");
    EXPECT_GT(code_, 0);
    EXPECT_NE(text_.find(L"no such table"), std::wstring::npos);
    DBAgent stranger;
    EXPECT_FALSE(Login(stranger, L"ann|~|wrong"));
    EXPECT_EQ(stranger.errCode_, Number(ServerError::WrongLogin));
    EXPECT_TRUE(token_.empty());
    Execute(L"SELECT 1");
    EXPECT_EQ(code_, 0);
}

TEST(AgentAtTheLimits, HearsWhyItIsRefused) {
    TestServer server([](CQXSERVER::ServerOptions& options) {
        options.limits.maxFrameBytes = CQXSERVER::kMiB;
        options.limits.maxConnections = 1;
    });
    DBAgent agent;
    std::wstring info;
    std::wstring token;
    const auto login = [&](DBAgent& who) {
        return who.Login(L"127.0.0.1", server.Get().Port(), QXProxyInfo(), L"ann|~|secret", info,
                         token);
    };
    ASSERT_TRUE(login(agent));
    DBAgent second;
    EXPECT_FALSE(login(second));
    EXPECT_EQ(second.errCode_, Number(ServerError::TooManyConnections));
    agent.SetIsLocal(false);
    long code = 0;
    std::wstring text;
    QXCommand huge(std::wstring(8 * CQXSERVER::kMiB, L'x'));
    agent.Execute(code, text, huge);
    EXPECT_EQ(code, Number(ServerError::FrameTooLarge));
    QXCommand small(L"SELECT 1");
    EXPECT_TRUE(Eventually([&] {
        agent.Execute(code, text, small);
        return code == 0;
    })) << "the agent did not connect again: "
        << code;
}

TEST_F(AgentTest, LivesThroughAWholeSession) {
    EXPECT_TRUE(agent_.Shakehand());
    EXPECT_TRUE(agent_.SendMsg(L"hello"));
    CQXDB_DSType_ENUM type = CQXDB_DS_ODBC;
    CQXDB_DriverType_ENUM driver = CQXDB_DRIVER_ODBC;
    EXPECT_TRUE(agent_.VirLogin(L"127.0.0.1", server_.Get().Port(), QXProxyInfo(), L"ann|~|secret",
                                token_, type, driver));
    EXPECT_EQ(type, CQXDB_DS_EMBEDDED);
    EXPECT_EQ(driver, CQXDB_DRIVER_DEFAULT);
    agent_.VirLogout(L"127.0.0.1", server_.Get().Port(), QXProxyInfo(), L"ann|~|secret");
    EXPECT_EQ(agent_.errCode_, 0);
    Execute(L"SELECT 1");
    EXPECT_EQ(code_, Number(ServerError::UnknownToken));
    EXPECT_FALSE(agent_.SendMsg(L"hello"));
}

}  // namespace
}  // namespace qxdb_test
