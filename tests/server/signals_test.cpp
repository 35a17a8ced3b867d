// What an operating system does to a running server.
#include <atomic>
#include <csignal>
#include <thread>

#include <Poco/Data/SQLite/Connector.h>
#include <Poco/Data/Session.h>
#include <gtest/gtest.h>

#include "messages/type_codes.h"
#include "tests/server/server_program.h"
#include "tests/server/test_server.h"

namespace qxdb_test {
namespace {

using namespace Poco::Data::Keywords;

/// Holds a SQLite database's write lock, so that a writing request stays under way.
class WriteLock {
  public:
    explicit WriteLock(const std::string& path) : session_(Open(path)) {
        session_ << "BEGIN IMMEDIATE", now;
    }
    ~WriteLock() { Release(); }
    WriteLock(const WriteLock&) = delete;
    WriteLock& operator=(const WriteLock&) = delete;
    void Release() {
        if (held_) {
            held_ = false;
            session_ << "ROLLBACK", now;
        }
    }

  private:
    static Poco::Data::Session Open(const std::string& path) {
        Poco::Data::SQLite::Connector::registerConnector();
        return {Poco::Data::SQLite::Connector::KEY, path};
    }

    Poco::Data::Session session_;
    bool held_ = true;
};

/// Waits until the server says that a request is under way.
bool RequestRuns(ServerProgram& program) {
    return Eventually([&] {
        kill(program.Process().Pid(), SIGUSR1);
        return program.Process().WaitForText("requests: 1 running", std::chrono::seconds(1));
    });
}

TEST(Signals, StopFinishesTheRunningBatchAndTakesNothingNew) {
    ServerProgram program;
    RawClient client = program.LoggedIn();
    RawClient idle = program.LoggedIn();
    client.Execute(L"CREATE TABLE t(n)");
    WriteLock lock(program.DataFile("main.db"));
    CQXDB::QXCommandList batch = client.List({L"INSERT INTO t VALUES (1)", L"SELECT n FROM t"});
    client.Send(CQXBASE::kBatchQuery, batch);
    ASSERT_TRUE(RequestRuns(program));

    program.Process().Terminate();
    ASSERT_TRUE(program.Process().WaitForText("stopping; requests still running: 1"));
    EXPECT_TRUE(idle.AtEnd());
    EXPECT_THROW(program.Connect(), std::runtime_error);
    lock.Release();
    const Reply reply = client.Receive();
    EXPECT_EQ(reply.code, CQXBASE::kBatchQuery) << reply.Error();
    EXPECT_TRUE(client.AtEnd());
    EXPECT_EQ(program.Process().Wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(program.Folder().Path() / "port"));
    program.Start();
    EXPECT_EQ(program.LoggedIn().Number(L"SELECT count(*) FROM t"), 1);
}

TEST(Signals, StopWaitsNoLongerThanTheGraceTime) {
    ServerProgram program("[limits]\ngrace_timeout_s = 0.1\n");
    RawClient client = program.LoggedIn();
    client.Execute(L"CREATE TABLE t(n)");
    const WriteLock lock(program.DataFile("main.db"));
    CQXDB::QXCommand insert = client.Command(L"INSERT INTO t VALUES (1)");
    client.Send(CQXBASE::kExecute, insert);
    ASSERT_TRUE(RequestRuns(program));
    program.Process().Terminate();
    EXPECT_EQ(program.Process().Wait(), 1);
    EXPECT_NE(program.Process().Errors().find("1 requests unfinished"), std::string::npos);
}

TEST(Signals, KillLosesNothingThatWasCommitted) {
    ServerProgram program;
    std::atomic<std::int64_t> acknowledged{0};
    program.LoggedIn().Execute(L"CREATE TABLE t(n INTEGER PRIMARY KEY)");
    std::thread writer([&] {
        try {
            RawClient client = program.LoggedIn();
            while (client.Execute(L"INSERT INTO t DEFAULT VALUES").Error() == 0) {
                ++acknowledged;
            }
        } catch (const std::runtime_error&) {
            // The server is gone, as the test wants it.
        }
    });
    EXPECT_TRUE(Eventually([&] { return acknowledged > 100; }));
    program.Process().Kill();
    writer.join();
    program.Start();
    RawClient client = program.LoggedIn();
    const std::int64_t kept = client.Number(L"SELECT count(*) FROM t");
    EXPECT_GE(kept, acknowledged);
    EXPECT_LE(kept, acknowledged + 1);
    EXPECT_EQ(client.Number(L"SELECT max(n) FROM t"), kept);
}

}  // namespace
}  // namespace qxdb_test
