#include <gmock/gmock.h>

#include "tests/cli/qxdb_program.h"
#include "tests/support/TempDir.h"

namespace {

using qxdb_test::Ended;
using qxdb_test::ReadFile;
using qxdb_test::RunQxdb;
using testing::HasSubstr;

class ImportExport : public testing::Test {
  protected:
    Ended Run(std::vector<std::string> arguments, const std::string& input = {}) const {
        arguments.insert(arguments.begin(), {"--db", "sqlite:" + folder_.File("test.db")});
        return RunQxdb(arguments, {input});
    }
    std::string Query(const std::string& sql) const {
        return Run({"--format", "tsv", "--no-header", "-c", sql}).out;
    }
    std::string File(const std::string& name) const { return folder_.File(name); }
    std::string Text(const std::string& name) const { return ReadFile(folder_.Path() / name); }
    std::string Write(const std::string& name, const std::string& text) const {
        qxdb_test::WriteFile(folder_.Path() / name, text);
        return File(name);
    }

    qxdb_test::TempDir folder_;
};

TEST_F(ImportExport, EveryValueComesBack) {
    const std::string columns =
        "(id INTEGER, name TEXT, price DECIMAL(12,2), rate REAL, ok BOOLEAN, "
        "born DATE, seen TIMESTAMP, raw BLOB)";
    ASSERT_EQ(Run({}, "CREATE TABLE a" + columns + "; CREATE TABLE b" + columns + R"(;
        INSERT INTO a VALUES (9223372036854775807, 'say "hi", 漢字', 0.99, 0.1, 1, '2026-11-22',
                              '2026-11-22 08:00:00.5', x'00ff'),
                             (NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL),
                             (-1, '', -10.50, -1e-300, 0, '0001-01-01', '1969-12-31 23:59:59', x''),
                             (0, char(10) || 'two' || char(13, 10) || ' lines ', 12, 3, 1, NULL, NULL, x'41');
        )")
                  .status,
              0);
    const Ended exported = Run({"export", "SELECT * FROM a", File("a.csv")});
    EXPECT_EQ(exported.err, "4 rows exported to " + File("a.csv") + "\n");
    const Ended imported = Run({"import", File("a.csv"), "b"});
    EXPECT_EQ(imported.err, "4 rows imported into b\n");
    EXPECT_EQ(Query("SELECT (SELECT count(*) FROM (SELECT * FROM a EXCEPT SELECT * FROM b)), "
                    "count(*) FROM b"),
              "0\t4\n");
}

TEST_F(ImportExport, HeadersNameColumnsInAnyOrder) {
    Query("CREATE TABLE t(id INTEGER, \"My Name\" TEXT DEFAULT 'none')");
    EXPECT_EQ(Run({"import", "-", "t"}, "my name,ID\r\nx,1\r\n").status, 0);
    EXPECT_EQ(Run({"import", "-", "t"}, "id\n2\n\n3").status, 0) << "an empty line is a null";
    EXPECT_EQ(Run({"import", "-", "t", "--no-header"}, "4,\"\"\n\n5,\n").status, 0);
    EXPECT_EQ(Query("SELECT * FROM t"), "1\tx\n2\tnone\n\\N\tnone\n3\tnone\n4\t\n5\t\\N\n");
    for (const auto& [csv, error] :
         {std::pair("id,nope\n", "no column \"nope\"; it has id, My Name"),
          std::pair("id,ID\n", "\"id\" is named twice"), std::pair("", "no line")}) {
        const Ended refused = Run({"import", "-", "t"}, csv);
        EXPECT_EQ(refused.status, 1);
        EXPECT_THAT(refused.err, HasSubstr(error));
    }
}

TEST_F(ImportExport, ABadRowEndsAnImportThatCanGoOn) {
    Query("CREATE TABLE t(id INTEGER UNIQUE, note TEXT)");
    const std::string csv = "id,note\n1,a\n2,\"b\nb\"\n3,c\n1,d\n5,e\n";
    const Ended failed = Run({"import", "-", "t", "--batch", "2"}, csv);
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.err, testing::StartsWith("qxdb: standard input: line 6: error "));
    EXPECT_THAT(failed.err, HasSubstr("UNIQUE"));
    EXPECT_THAT(failed.err, HasSubstr("2 rows imported; --from-line 5 goes on behind them"));
    EXPECT_EQ(Query("SELECT id FROM t"), "1\n2\n");
    const std::string mended = "id,note\n1,a\n2,\"b\nb\"\n3,c\n4,d\n5,e\n";
    EXPECT_EQ(Run({"import", "-", "t", "--from-line", "5"}, mended).err,
              "3 rows imported into t\n");
    EXPECT_EQ(Query("SELECT group_concat(id) FROM t"), "1,2,3,4,5\n");
    EXPECT_THAT(Run({"import", "-", "t"}, "id,note\n6,x\n7\n").err,
                HasSubstr("line 3: 1 field where 2 are expected; no row was imported"));
}

TEST_F(ImportExport, AnAtomicImportStoresAllRowsOrNone) {
    Query("CREATE TABLE t(id INTEGER UNIQUE)");
    std::string csv = "id\n";
    for (int i = 0; i < 6000; ++i) {
        csv += std::to_string(i) + "\n";
    }
    EXPECT_THAT(
        Run({"import", "-", "t", "--atomic"}, csv + "0\n").err,
        HasSubstr("line 6002: error 2067: UNIQUE constraint failed: t.id; no row was imported"));
    EXPECT_EQ(Query("SELECT count(*) FROM t"), "0\n");
    EXPECT_EQ(Run({"import", "-", "t", "--atomic"}, csv).status, 0);
    EXPECT_EQ(Query("SELECT count(*), sum(id) FROM t"), "6000\t17997000\n");
}

TEST_F(ImportExport, PagesMakeTheSameFile) {
    const std::string query =
        "WITH RECURSIVE n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n WHERE i < "
        "?) SELECT i, 'row ' || i AS name FROM n -- all";
    const auto fetch = [&](const std::string& rows, const std::string& name,
                           const std::vector<std::string>& more) {
        std::vector<std::string> arguments{"export", query, File(name), "--param", rows};
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_EQ(Run(arguments).status, 0);
        return Text(name);
    };
    const std::string whole = fetch("45001", "whole", {"--page-size", "0"});
    EXPECT_EQ(std::count(whole.begin(), whole.end(), '\n'), 45002);
    EXPECT_TRUE(fetch("45001", "growing", {}) == whole);
    EXPECT_TRUE(fetch("45001", "fixed", {"--page-size", "7001"}) == whole);
    EXPECT_EQ(fetch("4", "even", {"--page-size", "2", "--format", "tsv", "--no-header"}),
              "1\trow 1\n2\trow 2\n3\trow 3\n4\trow 4\n");
    EXPECT_EQ(fetch("0", "none", {"--format", "json"}), "[\n{\"i\":1,\"name\":\"row 1\"}\n]\n");
}

TEST_F(ImportExport, StatementsThatChangeDataRunOnce) {
    Query("CREATE TABLE t(id INTEGER PRIMARY KEY, a)");
    const Ended ended = Run(
        {"export", "INSERT INTO t(a) VALUES ('x'), ('y') RETURNING id;", "-", "--page-size", "1"});
    EXPECT_EQ(ended.out, "id\r\n1\r\n2\r\n");
    EXPECT_EQ(Query("SELECT count(*) FROM t"), "2\n");
}

TEST_F(ImportExport, AFailedExportLeavesTheOldFile) {
    const std::string file = Write("kept.csv", "old");
    for (const std::string sql :
         {"SELECT * FROM nowhere", "CREATE TABLE t(a)", "\\d", "SELECT 1; SELECT 2"}) {
        EXPECT_NE(Run({"export", sql, file}).status, 0) << sql;
        EXPECT_EQ(Text("kept.csv"), "old");
        EXPECT_FALSE(std::filesystem::exists(file + ".part"));
    }
    EXPECT_EQ(Run({"export", "SELECT 1", File("no/such/folder.csv")}).status, 1);
    EXPECT_EQ(Run({"export", "SELECT 1 AS a", file}).status, 0);
    EXPECT_EQ(Text("kept.csv"), "a\r\n1\r\n");
}

}  // namespace
