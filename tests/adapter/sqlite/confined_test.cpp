// What people who are not trusted may do with a SQLite database, through both managers.
#include <filesystem>
#include <future>
#include <random>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <qxdb/DBMgrErrors.h>

#include "tests/adapter/backend.h"
#include "tests/support/TempDir.h"
#include "util/text.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

/// The parameter is true for the manager on POCO.
class ConfinedTest : public testing::TestWithParam<bool> {
  protected:
    Client Open(const std::string& path, const std::string& options = {}) {
        return {Source(path, options), GetParam()};
    }
    static QXDataSource Source(const std::string& path, const std::string& options) {
        QXDataSource source;
        source.type = GetParam() ? CQXDB_DS_SQLITE : CQXDB_DS_EMBEDDED;
        source.database = CQXBASE::Utf8ToWide(path);
        source.options = options;
        return source;
    }
    void TearDown() override { Open(":memory:").CloseConn(); }

    TempDir folder;
    Client confined = Open(folder.File("c.db"), "confined=on;statement_timeout=500");
    Client free = Open(folder.File("f.db"));
};

TEST_P(ConfinedTest, AConfinedConnectionReachesNoOtherFileAndKeepsItsSettings) {
    const std::string other = folder.File("other.db");
    ASSERT_TRUE(Open(other).Execute("CREATE TABLE secret (i)").ok());
    ASSERT_TRUE(confined.Execute("CREATE TABLE t (i); PRAGMA User_Version=3").ok());
    ASSERT_TRUE(confined.Execute("VACUUM").ok());
    for (const std::string& text :
         {"ATTACH '" + other + "' AS o", "ATTACH '' || '" + other + "' AS o",
          "VACUUM INTO '" + folder.File("copy.db") + "'", std::string("PRAGMA synchronous=off"),
          std::string("PRAGMA query_only(1)"), std::string("PRAGMA writable_schema=on"),
          std::string("ATTACH '' AS stays"), std::string("PRAGMA database_list"),
          std::string("SELECT * FROM pragma_database_list"),
          std::string("PRAGMA temp_store_directory"), std::string("PRAGMA hard_heap_limit")}) {
        EXPECT_EQ(confined.Execute(text).code, SQLITE_AUTH) << text;
    }
    EXPECT_EQ(confined.Rows("PRAGMA user_version"), "3\n");
    EXPECT_EQ(confined.Rows("PRAGMA integrity_check"), "ok\n");
    EXPECT_EQ(confined.Rows("SELECT name FROM pragma_table_info('t')"), "i\n");
    EXPECT_FALSE(std::filesystem::exists(folder.File("copy.db")));
    EXPECT_TRUE(Open(folder.File("b.db")).Execute("ATTACH '" + other + "' AS o").ok());
}

TEST_P(ConfinedTest, AConfinedConnectionPassesFromUserToUserWithoutItsTemporaryObjects) {
    Client db = Open(":memory:", "confined=on");  // which would be empty if it were opened anew
    db.SetSessionUser("ann");
    ASSERT_TRUE(
        db.Execute("CREATE TABLE t (i INTEGER PRIMARY KEY); INSERT INTO t VALUES (7); "
                   "CREATE TEMP TABLE \"a \"\"b\" (i INTEGER PRIMARY KEY AUTOINCREMENT); "
                   "CREATE TEMP VIEW v AS SELECT 1; CREATE TEMP TRIGGER r AFTER INSERT ON t "
                   "BEGIN DELETE FROM t; END")
            .ok());
    db.SetSessionUser("bob");
    EXPECT_EQ(db.Rows("SELECT name FROM temp.sqlite_schema WHERE name NOT LIKE 'sqlite%'"), "");
    EXPECT_EQ(db.Rows("SELECT last_insert_rowid()"), "0\n");
    EXPECT_TRUE(db.Execute("INSERT INTO t VALUES (8)").ok());
    EXPECT_EQ(db.Rows("SELECT i FROM t"), "7\n8\n");
    EXPECT_EQ(db.Execute("PRAGMA query_only=1").code, SQLITE_AUTH);
}

/// Those that give away or take an address, read past tables' rights, load code, or take as long as
/// the product of their arguments' lengths.
TEST_P(ConfinedTest, CallsTheFunctionsOfItsListAlone) {
    const std::string forbidden =
        " fts3_tokenizer fts5 fts5_source_id json_patch load_extension rtreecheck rtreedepth "
        "rtreenode sqlite_log ";
    std::string refused;
    std::string expected;
    QXRecordset names;
    ASSERT_TRUE(
        free.Query(names, "SELECT DISTINCT name FROM pragma_function_list ORDER BY name").ok());
    for (std::size_t row = 0; row < names.RowCount(); ++row) {
        const std::string name = names.GetTextUtf8(row, 0);
        if (forbidden.find(" " + name + " ") != std::string::npos) {
            expected += name + " ";  // as far as this SQLite has it
        }
        const std::string call = name[0] == '-' ? "'{}' " + name + " 'a'" : name + "()";
        for (const char* const arguments : {"", "1", "1,1", "1,1,1"}) {
            const std::string text =
                name[0] == '-' ? call : name + "(" + std::string(arguments) + ")";
            if (confined.Rows("SELECT " + text).find("not authorized") != std::string::npos) {
                refused += name + " ";
                break;
            }
        }
    }
    EXPECT_EQ(refused, expected);
    EXPECT_FALSE(expected.empty());
}

/// Expressions of tables are compiled with the file's schema, without a look at what a statement
/// may call.
TEST_P(ConfinedTest, AFileMadeElsewhereCanDoNoMoreThanAStatement) {
    const Outcome made = free.Execute(
        "CREATE TABLE t (a, b AS (json_patch(a, '{}')), CHECK (sqlite_log(a, a) IS NULL));"
        "CREATE TABLE u (a); CREATE INDEX i ON u (json_patch(a, '{}'));"
        "CREATE TABLE n (a CHECK (rtreedepth(x'0000') = 0));"
        "CREATE VIEW v AS SELECT rtreenode(2, x'00'); CREATE VIEW w AS SELECT * FROM dbstat;"
        "CREATE VIEW p AS SELECT * FROM pragma_database_list");
    ASSERT_TRUE(made.ok()) << made;
    free.CloseConn();
    Client victim = Open(folder.File("f.db"), "confined=on");
    for (const char* const text :
         {"INSERT INTO t VALUES ('{}')", "INSERT INTO u VALUES ('{}')", "INSERT INTO n VALUES (1)",
          "SELECT * FROM v", "SELECT * FROM p"}) {
        const Outcome refused = victim.Execute(text);
        EXPECT_TRUE(refused.code == SQLITE_AUTH ||
                    refused.text.find(L"not authorized") != std::wstring::npos)
            << text << " " << refused;
    }
    EXPECT_EQ(victim.Rows("SELECT * FROM w"), "no such table: main.dbstat");
    EXPECT_FALSE(victim.Execute("UPDATE sqlite_schema SET sql = ''").ok());
}

TEST_P(ConfinedTest, HasTheVirtualTablesOfItsListAlone) {
    for (const char* const table :
         {"sqlite_stmt", "sqlite_dbpage", "dbstat", "generate_series(1, 2)", "bytecode('x')"}) {
        EXPECT_NE(confined.Rows(std::string("SELECT * FROM ") + table).find("no such table"),
                  std::string::npos)
            << table;
    }
    EXPECT_EQ(confined.Rows("SELECT value FROM json_each('[1,2]')"), "1\n2\n");
    EXPECT_TRUE(confined.Execute("CREATE VIRTUAL TABLE r USING rtree(id, a, b)").ok());
    EXPECT_FALSE(confined.Execute("INSERT INTO r_node VALUES (1, 'x')").ok());
    for (const char* const module : {"fts3(x)", "fts4(x)", "fts5(x)", "fts3(x, tokenize=evil)"}) {
        EXPECT_FALSE(confined.Execute(std::string("CREATE VIRTUAL TABLE f USING ") + module).ok());
    }
    Client search = Open(folder.File("s.db"), "confined=on;fulltext=on");
    ASSERT_TRUE(search
                    .Execute("CREATE VIRTUAL TABLE f USING fts5(x); "
                             "INSERT INTO f VALUES ('the quick fox'), ('the dog')")
                    .ok());
    EXPECT_EQ(search.Rows("SELECT highlight(f, 0, '<', '>') FROM f WHERE f MATCH 'fox'"),
              "the quick <fox>\n");
}

TEST_P(ConfinedTest, DoesWhatSchemasNeed) {
    ASSERT_TRUE(confined
                    .Execute("CREATE TABLE t (a TEXT, b TEXT GENERATED ALWAYS AS (trim(a)), "
                             "CHECK (length(a) < 9)); CREATE INDEX i ON t (instr(a, 'x')); "
                             "CREATE VIEW v AS SELECT printf('%05.1f', instr(a, 'x')) AS p, "
                             "json_extract(a, '$.k') AS j FROM t; "
                             "CREATE TRIGGER g AFTER INSERT ON t BEGIN "
                             "UPDATE t SET a = replace(a, 'y', 'x'); END; "
                             "INSERT INTO t(a) VALUES (' {}y '); "
                             "ALTER TABLE t RENAME COLUMN a TO c; ALTER TABLE t ADD COLUMN d; "
                             "ALTER TABLE t DROP COLUMN d; "
                             "ALTER TABLE t ADD COLUMN e INT NOT NULL DEFAULT 1 CHECK (e > 0); "
                             "ANALYZE")
                    .ok());
    EXPECT_EQ(confined.Rows("SELECT c, b FROM t"), " {}x |{}x\n");
    EXPECT_EQ(confined.Rows("SELECT p FROM v"), "004.0\n");
}

/// Those that were put in the place of SQLite's own, which the free connection has.
TEST_P(ConfinedTest, ItsOwnFunctionsGiveWhatSqlitesDo) {
    std::mt19937 random(7);
    const auto value = [&random]() -> std::string {
        static const char* const kPieces[] = {
            "a", "b", " ", "\xC3\xA9", "\xF0\x9F\x98\x80", "''", "A", "%", "_", "*", "[^-a]", "?"};
        switch (random() % 13) {
            case 0:
                return "NULL";
            case 1:
                return std::to_string(static_cast<int>(random() % 2000) - 1000);
            case 2:
                return "1.5e3";
            case 3:
                return random() % 2 == 0 ? "x''" : "x'61C3A961'";
            case 4:
                return "CAST(x'61C3FF80C0AF' AS TEXT)";
            default:
                std::string text = "'";
                for (auto left = random() % 6; left > 0; --left) {
                    text += kPieces[random() % std::size(kPieces)];
                }
                return text + "'";
        }
    };
    for (int i = 0; i < 2000; ++i) {
        const std::string a = value();
        const std::string b = value();
        const std::string c = value();
        const std::string query =
            "SELECT quote(instr(" + a + "," + b + ")), quote(replace(" + a + "," + b + "," + c +
            ")), quote(trim(" + a + ")), quote(trim(" + a + "," + b + ")), quote(ltrim(" + a + "," +
            b + ")), quote(rtrim(" + a + "," + b + ")), quote(printf('%5d|%-6s|%q|%c|%.3f', " + a +
            "," + b + "," + c + "," + a + "," + b + ")), quote(format(" + a + "," + b +
            ")), quote(" + a + " LIKE " + b + "), quote(" + a + " GLOB " + b + "), quote(" + a +
            " LIKE " + b + " ESCAPE substr(" + c + ", 1, 1))";
        ASSERT_EQ(confined.Rows(query), free.Rows(query)) << query;
    }
}

TEST_P(ConfinedTest, NoStatementOutrunsItsTimeOrTakesAllMemory) {
    const std::string zeros = "hex(zeroblob(16000000))";
    for (const std::string& text :
         {std::string("SELECT instr(zeroblob(60000000), zeroblob(30000000) || x'01')"),
          "SELECT rtrim(" + zeros + ", hex(randomblob(16000000)) || 'x')",
          "SELECT replace(" + zeros + ", hex(zeroblob(8000000)) || '1', '')",
          "SELECT " + zeros + " LIKE '%' || hex(zeroblob(20000)) || '1'",
          "SELECT " + zeros + " GLOB '*[0-0]' || hex(zeroblob(20000)) || '1'"}) {
        EXPECT_EQ(confined.Execute(text).code, SQLITE_INTERRUPT) << text;
    }
    for (const char* const text :
         {"SELECT zeroblob(900000000)", "SELECT printf('%.*c', 900000000, 'x')",
          "SELECT printf('%d %-3.900000000c', 1, 'x')", "SELECT printf(hex(zeroblob(600000)))",
          "SELECT group_concat(zeroblob(60000000)) FROM (SELECT 1 UNION SELECT 2)"}) {
        EXPECT_EQ(confined.Execute(text).code, SQLITE_TOOBIG) << text;
    }
    EXPECT_EQ(confined.Execute("SELECT '" + std::string(5 << 20, 'x') + "'").code, SQLITE_TOOBIG);
    EXPECT_EQ(confined.Execute("SELECT ?", {QXValue::TextUtf8(std::string(64 << 20, 'x'))}).code, 0)
        << "what a request may hold";
    EXPECT_EQ(Open(folder.File("c.db"), "confined=on;max_value_mib=1")
                  .Execute("SELECT zeroblob(1100000)")
                  .code,
              SQLITE_TOOBIG);
}

/// Every table of the chain stands twice in the next one.
std::string EndlessToPrepare() {
    std::string chain = "WITH c0(a) AS (SELECT 1)";
    for (int i = 1; i <= 30; ++i) {
        const std::string before = "c" + std::to_string(i - 1);
        chain += ", c" + std::to_string(i) + "(a) AS (SELECT x.a FROM " + before + " x, " + before +
                 " y)";
    }
    return chain + " SELECT count(*) FROM c30";
}

TEST_P(ConfinedTest, MemoryIsBoundedWhereTheProcessAsksForIt) {
    if (!DBMgr::LimitMemory(64 << 20)) {
        GTEST_SKIP() << "another test of this process has used SQLite";
    }
    EXPECT_EQ(confined.Execute("SELECT length(hex(zeroblob(9000000)))").code, SQLITE_NOMEM);
    EXPECT_EQ(confined.Rows("SELECT length(hex(zeroblob(2000000)))"), "4000000\n")
        << "what it held was not given back";
    EXPECT_EQ(free.Rows("SELECT length(hex(zeroblob(30000000)))"), "60000000\n");
    EXPECT_EQ(Open(folder.File("c.db"), "confined=on").Execute(EndlessToPrepare()).code,
              SQLITE_NOMEM);
    EXPECT_EQ(confined.Rows("SELECT 1"), "1\n");
    EXPECT_FALSE(DBMgr::LimitMemory(64 << 20)) << "too late, and said";
}

TEST_P(ConfinedTest, ACancelledQueryLeavesADatabaseInMemoryAsItWas) {
    Client memory = Open(":memory:", "confined=on");
    ASSERT_TRUE(memory.Execute("CREATE TABLE t (i); INSERT INTO t VALUES (7)").ok());
    const auto run = [&](auto&& manager) {
        Cancellation cancellation;
        std::promise<void> begun;
        std::thread canceller([&cancellation, running = begun.get_future()] {
            running.wait();
            cancellation.Cancel();
        });
        RowSink sink;
        sink.rows = 10;
        sink.take = [told = &begun](QXRecordset&&) mutable {
            if (told != nullptr) {
                std::exchange(told, nullptr)->set_value();
            }
        };
        manager.SetCancellation(&cancellation);
        manager.SetRowSink(&sink);
        QXCommand endless = memory.Command(
            "WITH RECURSIVE c(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM c) SELECT i FROM c");
        QXRecordset rows;
        manager.OpenQuery(&endless, rows);
        canceller.join();
        EXPECT_EQ(manager.errNumber(), DBMGR_CANCELLED);
    };
    GetParam() ? run(DBMgrWithPOCO()) : run(DBMgr());
    EXPECT_EQ(memory.Rows("SELECT i FROM t"), "7\n");
}

std::string ManagerName(const testing::TestParamInfo<bool>& manager) {
    return manager.param ? "Poco" : "Direct";
}

INSTANTIATE_TEST_SUITE_P(On, ConfinedTest, testing::Bool(), ManagerName);

}  // namespace
}  // namespace qxdb_test
