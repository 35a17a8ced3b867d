// What calls tell beside rows, and rows that come in portions: the same locally and through the
// server, on each database.
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <qxdb/DBMgrErrors.h>

#include "tests/end_to_end/served_databases.h"
#include "tests/support/RemoteAgent.h"

namespace {

using namespace CQXDB;
using namespace qxdb_test;

enum Engine : std::size_t { kSqlite, kPostgres, kMaria, kOdbcPostgres, kOdbcMaria };

QXCommand Command(const wchar_t* sql, QXValue parameter) {
    QXCommand command(sql);
    command.AddParam(std::move(parameter));
    return command;
}

/// One agent's calls, and what they came to.
class Script {
  public:
    explicit Script(DBAgent& agent) : agent_(agent) {}

    /// Counts as rows/id.
    template <typename Work>
    Script& Run(Work work) {
        long code = 0;
        std::wstring text;
        agent_.Execute(code, text, work);
        Failed(code);
        for (std::uint64_t i = 0; i < work.Counts().Count(); ++i) {
            out_ << ' ' << work.RowsAffected(i) << '/' << work.LastInsertId(i);
        }
        return End();
    }
    void Quietly(const std::string& sql) {
        EXPECT_EQ(Execute(agent_, QXCommand(Wide(sql))).code, 0);
    }
    Script& Do(const std::string& sql) { return Run(QXCommand(Wide(sql))); }
    Script& DoAll(const std::vector<std::string>& list) {
        QXCommandList commands;
        for (const std::string& sql : list) {
            commands.Add(QXCommand(Wide(sql)));
        }
        return Run(commands);
    }
    Script& Batch(const std::vector<std::string>& list) {
        QXCommandList commands;
        for (const std::string& sql : list) {
            commands.Add(QXCommand(Wide(sql)));
        }
        QXRsList results;
        long code = 0;
        std::wstring text;
        agent_.BatchQry(code, text, commands, results);
        Failed(code);
        for (std::size_t i = 0; i < results.Count(); ++i) {
            Rows(results.At(i));
        }
        return End();
    }
    Script& Page(const std::string& sql, long rows) {
        const Answer answer = Query(agent_, QXCommand(Wide(sql)), rows);
        Failed(answer.code);
        Rows(answer.rows);
        return End();
    }
    Script& Describe(const std::string& sql) {
        QXCommand command(Wide(sql));
        std::vector<QXColumnInfo> columns;
        long code = 0;
        std::wstring text;
        agent_.DescribeQuery(code, text, command, columns);
        Failed(code);
        for (const QXColumnInfo& column : columns) {
            out_ << "\n  " << Utf8(column.name) << ' ' << static_cast<int>(column.type) << " '"
                 << Utf8(column.declaredType) << "' " << column.length << ' ' << column.precision
                 << ' ' << column.scale << ' ' << column.nullable << ' ' << Utf8(column.schema)
                 << '.' << Utf8(column.table) << '.' << Utf8(column.column);
        }
        return End();
    }
    Script& Notices() {
        out_ << "notices:";
        for (const QXNotice& notice : agent_.Notices()) {
            out_ << ' ' << Utf8(notice.level) << ' ' << notice.code << " '" << Utf8(notice.text)
                 << '\'';
        }
        return End();
    }
    /// Opens a cursor, and fetches `portions` of the size.
    Script& Cursor(const std::string& sql, long size, int portions) {
        QXCursor cursor;
        return Open(cursor, sql).Fetch(cursor, size, portions);
    }
    Script& Open(QXCursor& cursor, const std::string& sql) {
        QXCommand command(Wide(sql));
        long code = 0;
        std::wstring text;
        agent_.OpenCursor(code, text, command, cursor);
        out_ << "open";
        Failed(code);
        return End();
    }
    Script& Fetch(QXCursor& cursor, long size, int portions = 1) {
        for (int i = 0; i < portions; ++i) {
            QXRecordset rs;
            long code = 0;
            std::wstring text;
            cursor.Fetch(code, text, rs, size);
            Failed(code);
            Rows(rs);
        }
        out_ << (cursor.IsOpen() ? " open" : " closed");
        return End();
    }
    Script& Begin() {
        return Plain("begin", [&](long& code, std::wstring& text) { agent_.Begin(code, text); });
    }
    Script& Commit() {
        return Plain("commit", [&](long& code, std::wstring& text) { agent_.Commit(code, text); });
    }
    Script& Note(const char* text) {
        out_ << "- " << text;
        return End();
    }

    std::string Text() const { return out_.str(); }

  private:
    Script& Plain(const char* what, const std::function<void(long&, std::wstring&)>& call) {
        long code = 0;
        std::wstring text;
        call(code, text);
        out_ << what;
        Failed(code);
        return End();
    }
    void Failed(long code) {
        if (code != 0) {
            out_ << " error " << code;
        }
    }
    void Rows(const QXRecordset& rs) {
        out_ << (out_.str().empty() || out_.str().back() == '\n' ? "[" : " [");
        for (std::size_t i = 0; i < rs.ColumnCount(); ++i) {
            out_ << (i == 0 ? "" : ",") << rs.Column(i).NameUtf8() << ':'
                 << static_cast<int>(rs.ColumnType(i));
        }
        for (const auto row : rs) {
            out_ << ' ' << row.GetTextUtf8(0);
        }
        out_ << ']';
    }
    Script& End() {
        out_ << '\n';
        return *this;
    }

    DBAgent& agent_;
    std::ostringstream out_;
};

class Results : public testing::TestWithParam<std::size_t> {
  protected:
    static void SetUpTestSuite() { world_ = std::make_unique<ServedDatabases>(); }
    static void TearDownTestSuite() { world_.reset(); }

    Results() {
        const auto [name, url] = world_->databases.AllUrls().at(GetParam());
        QXDataSource source;
        std::wstring error;
        EXPECT_TRUE(QXDataSource::FromUrl(Wide(url), source, error)) << Utf8(error);
        local_.initDB(source);
        LogIn(remote_, world_->server, {}, Wide(name));
        Execute(local_, L"DROP TABLE IF EXISTS t");
        Execute(local_, L"DROP TABLE IF EXISTS u");
    }

    /// What it comes to here and there, which must be the same.
    std::string Both(const std::function<void(Script&)>& calls) {
        Script here(local_);
        calls(here);
        Script there(remote_);
        calls(there);
        EXPECT_EQ(here.Text(), there.Text());
        return here.Text();
    }
    Engine Which() const { return static_cast<Engine>(GetParam()); }

    static std::unique_ptr<ServedDatabases> world_;
    DBAgent local_;
    DBAgent remote_;
};

std::unique_ptr<ServedDatabases> Results::world_;

const char* const kNumbers[] = {
    "WITH RECURSIVE g(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM g WHERE n < 2500) "
    "SELECT n FROM g ORDER BY n",
    "SELECT n FROM generate_series(1, 2500) AS g(n)", "SELECT seq AS n FROM seq_1_to_2500",
    "SELECT n FROM generate_series(1, 2500) AS g(n)", "SELECT seq AS n FROM seq_1_to_2500"};

TEST_P(Results, CountsOfCommands) {
    static const char* const key[] = {"INTEGER PRIMARY KEY", "SERIAL PRIMARY KEY",
                                      "INTEGER PRIMARY KEY AUTO_INCREMENT", "SERIAL PRIMARY KEY",
                                      "INTEGER PRIMARY KEY AUTO_INCREMENT"};
    const std::string text = Both([&](Script& on) {
        Execute(local_, L"DROP TABLE IF EXISTS t");
        on.Do(std::string("CREATE TABLE t(n ") + key[Which()] + ", s VARCHAR(20))");
        on.Do("INSERT INTO t(s) VALUES('a')").Do("INSERT INTO t(s) VALUES('b'),('c'),('d')");
        on.Do("UPDATE t SET s = 'x' WHERE n > 2").Do("UPDATE t SET s = 'x' WHERE n > 99");
        on.Do("SELECT * FROM t").Do("INSERT INTO nowhere VALUES(1)");
        on.DoAll({"INSERT INTO t(s) VALUES('e')", "INSERT INTO t(s) VALUES('f')",
                  "UPDATE t SET s = 'y'", "DELETE FROM t WHERE n < 0"});
        on.Note("script").Do("INSERT INTO t(s) VALUES('g'); DELETE FROM t WHERE n < 3;");
        on.Do("DELETE FROM t");
    });
    const auto expected = [](const char* unknown, const std::vector<int>& ids) {
        const auto id = [&](std::size_t i) { return std::to_string(ids.at(i)); };
        return std::string(" 0/0\n 1/") + id(0) + "\n 3/" + id(1) + "\n 2/0\n 0/0\n 0/0\n error " +
               unknown + "\n 1/" + id(2) + " 1/" + id(3) + " 6/0 0/0\n- script\n 3/" + id(4) +
               "\n 5/0\n";
    };
    const std::string unknown = std::to_string(SqlStateCode("42P01"));
    const std::vector<std::string> told = {
        expected("1", {1, 4, 5, 6, 7}), expected(unknown.c_str(), {0, 0, 0, 0, 0}),
        expected("1146", {1, 2, 5, 6, 7}), expected(unknown.c_str(), {0, 0, 0, 0, 0}),
        expected("1146", {0, 0, 0, 0, 0})};
    EXPECT_EQ(text, told.at(Which()));
}

TEST_P(Results, Notices) {
    const std::string text = Both([&](Script& on) {
        switch (Which()) {
            case kSqlite:
                on.Do("SELECT 1").Notices();
                break;
            case kMaria:
            case kOdbcMaria:
                on.Do("DROP TABLE IF EXISTS nowhere").Notices();
                on.Do("SELECT CAST('x' AS INTEGER)").Notices();
                on.Batch({"SELECT CAST(seq AS CHAR) + 'y' AS x FROM seq_1_to_2"}).Notices();
                on.Run(Command(L"SELECT CAST(? AS INTEGER) FROM seq_1_to_3", QXValue::Text(L"7z")))
                    .Notices();
                on.Page("SELECT CAST(seq AS CHAR) + 'y' AS x FROM seq_1_to_9", 1).Notices();
                on.Do("SELECT 1").Notices();
                break;
            default:
                on.Do("DO $$ BEGIN RAISE NOTICE 'one'; RAISE WARNING 'two'; END $$").Notices();
                on.Do("DO $$ BEGIN RAISE NOTICE 'three'; RAISE EXCEPTION 'four'; END $$").Notices();
                on.Do("SELECT 1").Notices();
        }
    });
    const std::string warning = std::to_string(SqlStateCode("01000"));
    const std::string raised = std::to_string(SqlStateCode("P0001"));
    const auto truncated = [](const char* type, const char* value, int times) {
        std::string all = "notices:";
        for (int i = 0; i < times; ++i) {
            all += std::string(" Warning 1292 'Truncated incorrect ") + type + " value: '" + value +
                   "''";
        }
        return all + "\n";
    };
    const std::vector<std::string> told = {
        " 0/0\nnotices:\n",
        " 0/0\nnotices: NOTICE 0 'one' WARNING " + warning + " 'two'\n error " + raised +
            "\nnotices: NOTICE 0 'three'\n 0/0\nnotices:\n",
        // Of a page, nobody waits for the warnings of the rows behind it.
        " 0/0\nnotices: Note 1051 'Unknown table 'testing.nowhere''\n 0/0\n" +
            truncated("INTEGER", "x", 1) + "[x:3 1 2]\n" + truncated("DOUBLE", "y", 2) + " 0/0\n" +
            truncated("INTEGER", "7z", 3) + "[x:3 1]\nnotices:\n 0/0\nnotices:\n",
        // The driver makes one of all, and drops those before an error.
        " -1/0\nnotices: WARNING " + warning + " 'NOTICE: one;WARNING: two'\n error " + raised +
            "\nnotices:\n 0/0\nnotices:\n",
        // This one tells none.
        " 0/0\nnotices:\n 0/0\nnotices:\n[x:3 1 2]\nnotices:\n 0/0\nnotices:\n[x:3 1]\n"
        "notices:\n 0/0\nnotices:\n"};
    EXPECT_EQ(text, told.at(Which()));
}

TEST_P(Results, SeveralOfOneCommand) {
    const std::string text = Both([&](Script& on) {
        switch (Which()) {
            case kSqlite:
                on.Batch({"SELECT 1 AS a", "SELECT 2 AS b"});
                break;
            case kMaria:
            case kOdbcMaria:
                on.Do("DROP PROCEDURE IF EXISTS two");
                on.Do(
                    "CREATE PROCEDURE two() BEGIN SELECT 1 AS a UNION SELECT 2; SELECT 3 AS b; "
                    "END");
                on.Batch({"CALL two()", "SELECT 4 AS c"});
                on.Do("CALL two()").Do("SELECT 5");
                on.Do("DROP PROCEDURE two");
                break;
            default:
                on.Batch({"SELECT 1 AS a; SELECT 2 AS b", "SELECT 3 AS c"});
        }
    });
    const std::vector<std::string> told = {
        "[a:2 1] [b:2 2]\n", " error " + std::to_string(SqlStateCode("42601")) + "\n",
        " 0/0\n 0/0\n[a:2 1 2] [b:2 3] [c:2 4]\n 0/0\n 0/0\n 0/0\n", " error -7004\n",
        " 0/0\n 0/0\n[a:2 1 2] [b:2 3] [c:2 4]\n 2/0\n 0/0\n 0/0\n"};
    EXPECT_EQ(text, told.at(Which()));
}

TEST_P(Results, DescriptionOfColumns) {
    const std::string text = Both([&](Script& on) {
        Execute(local_, L"DROP TABLE IF EXISTS t");
        Execute(local_,
                L"CREATE TABLE t(n INTEGER NOT NULL, s VARCHAR(20), price DECIMAL(12,3), "
                L"at TIMESTAMP NULL)");
        on.Describe("SELECT n, s AS text, price, at, n + 1 AS more FROM t WHERE n > ?");
        on.Describe("UPDATE t SET n = 1").Describe("SELECT * FROM nowhere");
    });
    const std::string unknown = std::to_string(SqlStateCode("42P01"));
    const std::vector<std::string> told = {
        "\n  n 2 'INTEGER' -1 -1 -1 1 main.t.n"
        "\n  text 5 'VARCHAR(20)' 20 -1 -1 2 main.t.s"
        "\n  price 4 'DECIMAL(12,3)' -1 12 3 2 main.t.price"
        "\n  at 9 'TIMESTAMP' -1 -1 -1 2 main.t.at"
        "\n  more 0 '' -1 -1 -1 0 ..\n\n error 1\n",
        "\n  n 2 'integer' -1 -1 -1 1 public.t.n"
        "\n  text 5 'character varying(20)' 20 -1 -1 2 public.t.s"
        "\n  price 4 'numeric(12,3)' -1 12 3 2 public.t.price"
        "\n  at 9 'timestamp without time zone' -1 6 -1 2 public.t.at"
        "\n  more 2 'integer' -1 -1 -1 0 ..\n\n error " +
            unknown + "\n",
        "\n  n 2 'int' -1 -1 -1 1 testing.t.n"
        "\n  text 5 'varchar' 20 -1 -1 2 testing.t.s"
        "\n  price 4 'decimal' -1 12 3 2 testing.t.price"
        "\n  at 9 'timestamp' -1 0 -1 2 testing.t.at"
        "\n  more 2 'bigint' -1 -1 -1 0 ..\n\n error 1146\n",
        "\n  n 2 'int4' -1 -1 -1 1 public.t.n"
        "\n  text 5 'varchar' 20 -1 -1 2 public.t.s"
        "\n  price 4 'numeric' -1 12 3 2 public.t.price"
        "\n  at 9 'timestamp without time zone' -1 6 -1 2 public.t.at"
        "\n  more 2 'int4' -1 -1 -1 2 ..\n\n error " +
            unknown + "\n",
        "\n  n 2 'integer' -1 -1 -1 1 .t.n"
        "\n  text 5 'varchar' 20 -1 -1 2 .t.s"
        "\n  price 4 'decimal' -1 12 3 2 .t.price"
        "\n  at 9 'timestamp' -1 0 -1 2 .t.at"
        "\n  more 2 'bigint' -1 -1 -1 1 ..\n\n error 1146\n"};
    EXPECT_EQ(text, told.at(Which()));
}

TEST_P(Results, CursorsHandOutPortions) {
    const std::string numbers = kNumbers[Which()];
    const std::string text = Both([&](Script& on) {
        Execute(local_, L"DROP TABLE IF EXISTS t");
        Execute(local_, L"CREATE TABLE t(n INTEGER)");
        Execute(local_, L"INSERT INTO t VALUES(1), (2)");
        on.Note("to the end").Cursor("SELECT n FROM t ORDER BY n", 1, 4);
        on.Cursor("SELECT n FROM t ORDER BY n", 2, 2).Cursor("SELECT n FROM t WHERE n = 9", 5, 1);
        on.Note("two at a time, and other work between");
        on.Begin();
        QXCursor one;
        QXCursor other;
        on.Open(one, "SELECT n FROM t ORDER BY n").Open(other, "SELECT -n AS m FROM t ORDER BY n");
        on.Fetch(one, 1).Fetch(other, 1);
        on.Quietly("INSERT INTO t VALUES(3)");
        on.Fetch(other, 1).Fetch(one, 1).Commit();
        on.Fetch(one, 1);
        on.Note("refused");
        on.Cursor("SELECT * FROM nowhere", 1, 1);
        on.Cursor("INSERT INTO t VALUES(4)", 1, 1);
        on.Cursor("SELECT n FROM t", 0, 1);
        on.Batch({"SELECT count(*) AS n FROM t"});
    });
    const std::string unknown[] = {"1", std::to_string(SqlStateCode("42P01")), "1146",
                                   std::to_string(SqlStateCode("42P01")), "1146"};
    EXPECT_EQ(text,
              "- to the end\nopen\n[n:2 1] [n:2 2] [n:2] error -7020 [] closed\n"
              "open\n[n:2 1 2] [n:2] closed\nopen\n[n:2] closed\n"
              "- two at a time, and other work between\nbegin\nopen\nopen\n"
              "[n:2 1] open\n[m:2 -1] open\n[m:2 -2] open\n[n:2 2] open\n"
              "commit\n error -7016 [] closed\n"
              "- refused\nopen error " +
                  unknown[Which()] +
                  "\n error -7020 [] closed\nopen error -7020\n error -7020 [] closed\n"
                  "open\n error -7005 [] closed\n[n:2 3]\n");

    for (DBAgent* agent : {&local_, &remote_}) {
        QXCursor cursor;
        QXCommand query(Wide(numbers));
        long code = 0;
        std::wstring error;
        agent->OpenCursor(code, error, query, cursor);
        std::int64_t next = 1;
        while (cursor.IsOpen()) {
            QXRecordset rs;
            cursor.Fetch(code, error, rs, 700);
            for (const auto row : rs) {
                ASSERT_EQ(row.GetInt64(0), next++);
            }
        }
        EXPECT_EQ(code, 0) << Utf8(error);
        EXPECT_EQ(next, 2501);
    }
}

INSTANTIATE_TEST_SUITE_P(Databases, Results, testing::Range<std::size_t>(0, Databases::kAllCount));

}  // namespace
