// What is particular to SQLite, through both managers.
#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <qxdb/DBMgrErrors.h>

#include "tests/adapter/backend.h"
#include "tests/support/Platform.h"
#include "tests/support/TempDir.h"
#include "util/text.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

/// The parameter is true for the manager on POCO.
class SqliteTest : public testing::TestWithParam<bool> {
  protected:
    Client Open(const std::string& path, const std::string& options = {}) {
        QXDataSource source;
        source.type = GetParam() ? CQXDB_DS_SQLITE : CQXDB_DS_EMBEDDED;
        source.database = CQXBASE::Utf8ToWide(path);
        source.options = options;
        return {source, GetParam()};
    }
    void TearDown() override { Open(":memory:").CloseConn(); }

    TempDir folder;
    Client memory = Open(":memory:");
};

TEST_P(SqliteTest, AMemoryDatabaseLivesUntilItsConnectionIsClosed) {
    ASSERT_TRUE(memory.Execute("CREATE TABLE t (i); INSERT INTO t VALUES (1)").ok());
    EXPECT_EQ(Open(":memory:").Rows("SELECT i FROM t"), "1\n");
    EXPECT_EQ(Open(":memory:", "pool_timeout=9").Rows("SELECT i FROM t"), "no such table: t")
        << "another description has a database of its own";
    memory.CloseConn();
    EXPECT_EQ(memory.Rows("SELECT i FROM t"), "no such table: t");
}

TEST_P(SqliteTest, PathsThatDontOpenSayWhy) {
    const Outcome nowhere = Open(folder.File("no/such/folder.db")).Connect();
    EXPECT_EQ(nowhere.code & 0xff, SQLITE_CANTOPEN);
    EXPECT_NE(nowhere.text.find(L"folder.db ("), std::wstring::npos) << nowhere;
    const Outcome directory = Open(folder.Path().string()).Connect();
    EXPECT_EQ(directory.code & 0xff, SQLITE_CANTOPEN) << directory;
    EXPECT_NE(directory.text.find(L" ("), std::wstring::npos) << directory;
    WriteFile(folder.File("letter.db"), std::string(5000, 'x'));
    EXPECT_EQ(Open(folder.File("letter.db")).Connect().code, SQLITE_NOTADB);
    EXPECT_EQ(Open(folder.File("missing.db"), "mode=rw").Connect().code & 0xff, SQLITE_CANTOPEN);
    EXPECT_FALSE(std::filesystem::exists(folder.File("missing.db")));
    EXPECT_EQ(Open("").Connect().code, DBMGR_BAD_DATA_SOURCE);
    EXPECT_EQ(Open(folder.File("a.db"), "jurnal_mode=wal").Connect().code, DBMGR_BAD_OPTION);
    EXPECT_EQ(Open(folder.File("a.db"), "journal_mode=fast").Connect().code, DBMGR_BAD_OPTION);
    for (const std::string& options : {std::string("mode=r\xFC"), std::string("mode=ro\0x", 9)}) {
        const Outcome bytes = Open(folder.File("a.db"), options).Connect();
        EXPECT_EQ(bytes.code, DBMGR_BAD_OPTION);
        EXPECT_NE(bytes.text.find(L"UTF-8"), std::wstring::npos) << bytes;
    }
}

TEST_P(SqliteTest, AReadOnlyDatabaseIsReadAndNotWritten) {
    // Windows takes no question mark.
    const std::string path =
        folder.File(qxdb_test::kOnWindows ? "what #1 100%.db" : "what? #1 100%.db");
    ASSERT_TRUE(Open(path).Execute("CREATE TABLE t (i); INSERT INTO t VALUES (1)").ok());
    Client reader = Open(path, "mode=ro");
    EXPECT_EQ(reader.Rows("SELECT i FROM t"), "1\n");
    EXPECT_EQ(reader.Execute("INSERT INTO t VALUES (2)").code & 0xff, SQLITE_READONLY);
    EXPECT_EQ(reader.Execute({reader.Command("INSERT INTO t VALUES (2)")}).code & 0xff,
              SQLITE_READONLY);
    EXPECT_EQ(reader.Rows("SELECT COUNT(*) FROM t"), "1\n");
}

TEST_P(SqliteTest, ALockedDatabaseIsReportedAfterTheBusyTimeout) {
    Client db = Open(folder.File("a.db"), "busy_timeout=20");
    ASSERT_TRUE(db.Execute("CREATE TABLE t (i)").ok());
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(folder.File("a.db").c_str(), &other), SQLITE_OK);
    sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr);
    const Outcome locked = db.Execute({db.Command("INSERT INTO t VALUES (1)")});
    EXPECT_EQ(locked.code & 0xff, SQLITE_BUSY) << locked;
    sqlite3_close(other);
    EXPECT_TRUE(db.Execute("INSERT INTO t VALUES (1)").ok());
}

TEST_P(SqliteTest, AReplacedFileIsNoticed) {
    const std::string path = folder.File("a.db");
    Client db = Open(path);
    ASSERT_TRUE(db.Execute("CREATE TABLE t (i); INSERT INTO t VALUES (1)").ok());
    std::error_code refused;
    if (!std::filesystem::remove(path, refused)) {
        EXPECT_EQ(db.Rows("SELECT i FROM t"), "1\n") << "this system keeps the files that are open";
        return;
    }
    EXPECT_EQ(db.Rows("SELECT i FROM t"), "no such table: t");
    ASSERT_TRUE(db.Execute("CREATE TABLE t (i)").ok());
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_P(SqliteTest, DeclaredTypesHoldWhereTheValueFits) {
    ASSERT_TRUE(
        memory
            .Execute(
                "CREATE TABLE t (d DATE, n DECIMAL(9,3), b BOOLEAN, at DATETIME, x, "
                "r REAL, m NUMERIC);"
                "INSERT INTO t VALUES ('2024-02-29', 1.5, 1, '2024-01-02T03:04:05.25Z', 7, 2, 1e3),"
                "('yesterday', 'a lot', 2, 1700000000, 'seven', NULL, 0.1),"
                "('2024-02-30', 3, 0, '2024-01-02', x'0700', 1e300, 9007199254740993)")
            .ok());
    QXRecordset rs;
    ASSERT_TRUE(memory.Query(rs, "SELECT *, d || '', n + 0 FROM t").ok());
    EXPECT_EQ(TextOf(rs),
              "2024-02-29|1.500|true|2024-01-02 03:04:05.25|7|2|1000|2024-02-29|1.5\n"
              "yesterday|a lot|2|1700000000|seven|NULL|0.1|yesterday|0\n"
              "2024-02-30|3.000|false|2024-01-02 "
              "00:00:00|\\x0700|1e+300|9007199254740993|2024-02-30|3\n");
    using T = QXValueType;
    const std::vector<std::vector<T>> types{
        {T::Date, T::Decimal, T::Bool, T::Timestamp, T::Int64, T::Double, T::Decimal, T::Text,
         T::Double},
        {T::Text, T::Text, T::Int64, T::Int64, T::Text, T::Null, T::Decimal, T::Text, T::Int64},
        {T::Text, T::Decimal, T::Bool, T::Timestamp, T::Blob, T::Double, T::Decimal, T::Text,
         T::Int64}};
    for (std::size_t row = 0; row < types.size(); ++row) {
        for (std::size_t column = 0; column < types[row].size(); ++column) {
            EXPECT_EQ(rs.TypeAt(row, column), types[row][column]) << row << " " << column;
        }
    }
    EXPECT_EQ(rs.ColumnType(0), T::Mixed);
    EXPECT_EQ(rs.ColumnType(6), T::Decimal);
}

TEST_P(SqliteTest, NumbersThatSqliteWouldLoseAreRefused) {
    ASSERT_TRUE(memory.Execute("CREATE TABLE t (x)").ok());
    const Outcome nan = memory.Execute("INSERT INTO t VALUES (?)", {QXValue::Double(std::nan(""))});
    EXPECT_EQ(nan.code, DBMGR_BAD_VALUE);
    ASSERT_TRUE(memory
                    .Execute("INSERT INTO t VALUES (?), (?)",
                             {QXValue::Double(-std::numeric_limits<double>::infinity()),
                              QXValue::TextUtf8(std::string("a\0b", 3))})
                    .ok());
    QXRecordset rs;
    ASSERT_TRUE(memory.Query(rs, "SELECT x FROM t").ok());
    EXPECT_EQ(rs.GetDouble(0, 0), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(rs.GetBytes(1, 0), std::string_view("a\0b", 3));
}

TEST_P(SqliteTest, ScriptsMayDefineTriggersAndSetPragmas) {
    Client db = Open(folder.File("a.db"));
    ASSERT_TRUE(
        db.Execute("PRAGMA journal_mode=WAL;\n"
                   "CREATE TABLE t (i); CREATE TABLE log (i);\n"
                   "CREATE TRIGGER tr AFTER INSERT ON t BEGIN INSERT INTO log VALUES (new.i); "
                   "SELECT CASE WHEN new.i > 5 THEN RAISE(ABORT, 'too much') END; END;\n"
                   "INSERT INTO t VALUES (1);")
            .ok());
    EXPECT_EQ(db.Rows("PRAGMA journal_mode"), "wal\n");
    const Outcome refused = db.Execute("INSERT INTO t VALUES (2); INSERT INTO t VALUES (6)");
    EXPECT_EQ(refused.code, SQLITE_CONSTRAINT_TRIGGER);
    EXPECT_NE(refused.text.find(L"too much (statement 2"), std::wstring::npos) << refused;
    EXPECT_EQ(db.Rows("SELECT i FROM log"), "1\n");
}

TEST_P(SqliteTest, ForeignKeysHoldUnlessTurnedOff) {
    const char* const schema =
        "CREATE TABLE p (i INTEGER PRIMARY KEY); CREATE TABLE c (i REFERENCES p)";
    ASSERT_TRUE(memory.Execute(schema).ok());
    EXPECT_EQ(memory.Execute("INSERT INTO c VALUES (1)").code, SQLITE_CONSTRAINT_FOREIGNKEY);
    Client lax = Open(":memory:", "foreign_keys=off");
    ASSERT_TRUE(lax.Execute(schema).ok());
    EXPECT_TRUE(lax.Execute("INSERT INTO c VALUES (1)").ok());
}

TEST_P(SqliteTest, ATimeWithMoreDigitsThanAValueKeepsStaysAText) {
    ASSERT_TRUE(memory
                    .Execute("CREATE TABLE t (c TIME, d DATETIME); INSERT INTO t VALUES "
                             "('12:34:56.1234567', '2024-02-29 12:34:56.1234567Z'), "
                             "('12:34:56.1234560', '2024-02-29 12:34:56.12345600Z')")
                    .ok());
    EXPECT_EQ(memory.Rows("SELECT c, d FROM t"),
              "12:34:56.1234567|2024-02-29 12:34:56.1234567Z\n"
              "12:34:56.123456|2024-02-29 12:34:56.123456\n");
}

TEST_P(SqliteTest, AnInsertThatReturnsRowsIsKeptWhateverThePage) {
    Client db = Open(folder.File("a.db"));
    ASSERT_TRUE(db.Execute("CREATE TABLE t (i)").ok());
    QXRecordset rs;
    rs.setPageSize(1);
    ASSERT_TRUE(db.Query(rs, "INSERT INTO t VALUES (1), (2), (3) RETURNING i").ok());
    EXPECT_EQ(TextOf(rs), "1\n");
    db.CloseConn();
    EXPECT_EQ(db.Rows("SELECT COUNT(*) FROM t"), "3\n");
}

std::string ManagerName(const testing::TestParamInfo<bool>& manager) {
    return manager.param ? "Poco" : "Direct";
}

INSTANTIATE_TEST_SUITE_P(On, SqliteTest, testing::Bool(), ManagerName);

}  // namespace
}  // namespace qxdb_test
