// What an operating system does to a running server.
#include <atomic>
#include <csignal>
#include <thread>

#include <Poco/Data/SQLite/Connector.h>
#include <Poco/Data/Session.h>
#include <gtest/gtest.h>

#include "messages/type_codes.h"
#include "tests/server/test_server.h"
#include "tests/support/QxdbServer.h"

namespace qxdb_test {
namespace {

using namespace Poco::Data::Keywords;

RawClient LoggedIn(const QxdbServer& server) {
    RawClient client(server.Port());
    client.Login(L"ada", L"correct horse battery");
    return client;
}

/// A table, and its database's write lock, so that a request that writes stays under way.
class HeldTable {
  public:
    explicit HeldTable(const QxdbServer& server) : session_(Open(server.Folder().File("main.db"))) {
        LoggedIn(server).Execute(L"CREATE TABLE t(n)");
        session_ << "BEGIN IMMEDIATE", now;
    }
    void Release() { session_ << "ROLLBACK", now; }

  private:
    static Poco::Data::Session Open(const std::string& path) {
        Poco::Data::SQLite::Connector::registerConnector();
        return {Poco::Data::SQLite::Connector::KEY, path};
    }

    Poco::Data::Session session_;
};

/// Waits until the server says that a request is under way.
bool RequestRuns(QxdbServer& server) {
    return Eventually([&] {
        kill(server.Pid(), SIGUSR1);
        return server.Process().WaitForText("requests: 1 running", std::chrono::seconds(1));
    });
}

TEST(Signals, StopFinishesTheRunningBatchAndTakesNothingNew) {
    QxdbServer server(QXDB_SERVER_PROGRAM);
    HeldTable table(server);
    RawClient client = LoggedIn(server);
    RawClient idle = LoggedIn(server);
    CQXDB::QXCommandList batch = client.List({L"INSERT INTO t VALUES (1)", L"SELECT n FROM t"});
    client.Send(CQXBASE::kBatchQuery, batch);
    ASSERT_TRUE(RequestRuns(server));

    server.Process().Terminate();
    ASSERT_TRUE(server.Process().WaitForText("stopping; requests still running: 1"));
    EXPECT_TRUE(idle.AtEnd());
    EXPECT_THROW(RawClient(server.Port()), std::runtime_error);
    table.Release();
    const Reply reply = client.Receive();
    EXPECT_EQ(reply.code, CQXBASE::kBatchQuery) << reply.Error();
    EXPECT_TRUE(client.AtEnd());
    EXPECT_EQ(server.Process().Wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(server.Folder().Path() / "port"));
    server.Start();
    EXPECT_EQ(LoggedIn(server).Number(L"SELECT count(*) FROM t"), 1);
}

TEST(Signals, StopWaitsNoLongerThanTheGraceTime) {
    const TempDir folder;
    WriteFile(folder.Path() / "c.toml", "limits.grace_timeout_s = 0.1\n");
    QxdbServer server(QXDB_SERVER_PROGRAM, {"--config", folder.File("c.toml")});
    const HeldTable table(server);
    RawClient client = LoggedIn(server);
    CQXDB::QXCommand insert = client.Command(L"INSERT INTO t VALUES (1)");
    client.Send(CQXBASE::kExecute, insert);
    ASSERT_TRUE(RequestRuns(server));
    server.Process().Terminate();
    EXPECT_EQ(server.Process().Wait(), 1);
    EXPECT_NE(server.Log().find("1 requests unfinished"), std::string::npos);
}

TEST(Signals, KillLosesNothingThatWasCommitted) {
    QxdbServer server(QXDB_SERVER_PROGRAM);
    LoggedIn(server).Execute(L"CREATE TABLE t(n INTEGER PRIMARY KEY)");
    std::atomic<std::int64_t> acknowledged{0};
    std::thread writer([&] {
        try {
            RawClient client = LoggedIn(server);
            while (client.Execute(L"INSERT INTO t DEFAULT VALUES").Error() == 0) {
                ++acknowledged;
            }
        } catch (const std::runtime_error&) {
            // The server is gone, as the test wants it.
        }
    });
    EXPECT_TRUE(Eventually([&] { return acknowledged > 100; }));
    server.Kill();
    writer.join();
    server.Start();
    RawClient client = LoggedIn(server);
    const std::int64_t kept = client.Number(L"SELECT count(*) FROM t");
    EXPECT_GE(kept, acknowledged);
    EXPECT_LE(kept, acknowledged + 1);
    EXPECT_EQ(client.Number(L"SELECT max(n) FROM t"), kept);
}

}  // namespace
}  // namespace qxdb_test
