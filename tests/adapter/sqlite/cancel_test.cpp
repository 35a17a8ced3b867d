// A call on SQLite that another thread cancels.
#include <atomic>
#include <future>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <qxdb/Cancellation.h>
#include <qxdb/DBMgr.h>
#include <qxdb/DBMgrErrors.h>

#include "tests/adapter/backend.h"
#include "tests/support/TempDir.h"
#include "util/text.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

const std::string kEndless =
    "WITH RECURSIVE c(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM c) SELECT i FROM c";

Client Open(const std::string& name) {
    QXDataSource source;
    source.type = CQXDB_DS_EMBEDDED;
    source.database = CQXBASE::Utf8ToWide(name);
    return {source, false};
}

TEST(SqliteCancel, EndsAQueryAndLeavesAMemoryDatabaseAsItWas) {
    Client db = Open(":memory:");
    ASSERT_TRUE(db.Execute("CREATE TABLE t (i); INSERT INTO t VALUES (7)").ok());
    Cancellation cancellation;
    DBMgr manager;
    manager.SetCancellation(&cancellation);
    std::promise<void> begun;
    std::thread canceller([&cancellation, running = begun.get_future()] {
        running.wait();
        cancellation.Cancel();
    });
    bool told = false;
    RowSink sink;
    sink.rows = 10;
    sink.take = [&begun, &told](QXRecordset&&) {
        if (!std::exchange(told, true)) {
            begun.set_value();
        }
    };
    manager.SetRowSink(&sink);
    QXCommand endless = db.Command(kEndless);
    QXRecordset rs;
    manager.OpenQuery(&endless, rs);
    canceller.join();
    EXPECT_EQ(manager.errNumber(), DBMGR_CANCELLED);
    manager.SetRowSink(nullptr);
    QXCommand next = db.Command("SELECT i FROM t");
    manager.OpenQuery(&next, rs);
    EXPECT_EQ(manager.errNumber(), DBMGR_CANCELLED) << "the cancellation still holds";
    EXPECT_EQ(db.Rows("SELECT i FROM t"), "7\n");
    db.CloseConn();
}

TEST(SqliteCancel, RollsAListBack) {
    const TempDir folder;
    Client db = Open(folder.File("a.db"));
    ASSERT_TRUE(db.Execute("CREATE TABLE t (i)").ok());
    Cancellation cancellation;
    DBMgr manager;
    manager.SetCancellation(&cancellation);
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(folder.File("a.db").c_str(), &other), SQLITE_OK);
    std::atomic<bool> ended{false};
    std::thread canceller([&] {
        // The list has begun once nobody else may write; it never gives the lock back by itself.
        while (sqlite3_exec(other, "BEGIN IMMEDIATE; ROLLBACK", nullptr, nullptr, nullptr) ==
                   SQLITE_OK &&
               !ended) {
        }
        while (!ended) {
            cancellation.Cancel();
        }
    });
    QXCommandList list =
        db.List({db.Command("INSERT INTO t VALUES (1)"), db.Command("INSERT INTO t " + kEndless)});
    manager.Execute(&list);
    ended = true;
    canceller.join();
    sqlite3_close(other);
    EXPECT_EQ(manager.errNumber(), DBMGR_CANCELLED);
    EXPECT_EQ(db.Rows("SELECT count(*) FROM t"), "0\n");
    EXPECT_TRUE(db.Execute("INSERT INTO t VALUES (1)").ok());
    db.CloseConn();
}

}  // namespace
}  // namespace qxdb_test
