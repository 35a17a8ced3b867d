#include <gmock/gmock.h>

#include "tests/cli/qxdb_program.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/PostgresServer.h"
#include "tests/support/TempDir.h"

namespace {

using qxdb_test::Ended;
using qxdb_test::MariaDbServer;
using qxdb_test::PostgresServer;
using qxdb_test::RunQxdb;
using testing::HasSubstr;
using testing::StartsWith;

/// Runs the program on a database, with csv results.
class Database {
  public:
    Database(std::string url, const std::string& password)
        : url_(std::move(url)), password_("QXDB_PASSWORD=" + password) {}

    Ended Run(std::vector<std::string> arguments, const std::string& input = {}) const {
        arguments.insert(arguments.begin(), {"--db", url_, "--format", "csv", "--no-header"});
        return RunQxdb(arguments, {input, {password_}});
    }

    /// Two tables alike: what is exported from one and imported into the other comes out the same.
    void ExpectRoundTrip(const std::string& columns, const std::string& rows) const {
        const Ended made = Run({}, "CREATE TABLE a" + columns + ";\nCREATE TABLE b" + columns +
                                       ";\nINSERT INTO a VALUES " + rows + ";");
        ASSERT_EQ(made.err, "");
        const Ended exported = Run({"export", "SELECT * FROM a ORDER BY id", "-"});
        ASSERT_EQ(exported.status, 0) << exported.err;
        const Ended imported = Run({"import", "-", "b"}, exported.out);
        ASSERT_EQ(imported.status, 0) << imported.err;
        EXPECT_EQ(Run({"export", "SELECT * FROM b ORDER BY id", "-"}).out, exported.out);
        EXPECT_THAT(Run({"import", "-", "b"}, "2,x\n").err, HasSubstr("line 1: 2 fields where"));
    }

  private:
    std::string url_;
    std::string password_;
};

std::string Url(const std::string& scheme, const std::string& user, std::uint16_t port,
                const std::string& database) {
    return scheme + "://" + user + "@127.0.0.1:" + std::to_string(port) + "/" + database;
}

TEST(PostgreSqlProgram, RunsScriptsAndMovesRows) {
    const PostgresServer server;
    const Database database(
        Url("postgresql", PostgresServer::User(), server.Port(), PostgresServer::Database()),
        PostgresServer::Password());
    const std::string script =
        "DROP DATABASE IF EXISTS shop;\nCREATE DATABASE shop;\n\\c shop;\n"
        "CREATE FUNCTION f(a int) RETURNS int LANGUAGE plpgsql AS $$ BEGIN RETURN a; END; $$;\n"
        "SELECT f(7), E'\\';';\nBEGIN ISOLATION LEVEL SERIALIZABLE;\n"
        "SELECT current_setting('transaction_isolation'), current_database();\nEND;\n"
        "\\c postgres\nSELECT current_database();";
    const Ended first = database.Run({}, script);
    EXPECT_EQ(first.err, "NOTICE: database \"shop\" does not exist, skipping\n");
    EXPECT_EQ(first.out, "7,';\r\n\r\nserializable,shop\r\n\r\npostgres\r\n");
    EXPECT_EQ(database.Run({}, script + "\nDROP DATABASE shop;").err, "")
        << "no connection is left behind in the database";
    EXPECT_THAT(database.Run({}, "CREATE TABLE c(a int);\nCOPY c FROM stdin;\n1\n\\.\n").err,
                StartsWith("qxdb: standard input:2: COPY FROM STDIN"));
    database.ExpectRoundTrip(
        "(id bigint, n numeric(20,4), r float8, ok bool, d date, t time, ts timestamp, raw bytea, "
        "txt text, u uuid, j jsonb, l int[])",
        "(1, 1234567890123456.7891, 0.1, true, '2026-11-22', '08:00:01.5', '2026-11-22 "
        "08:00:00.000001', "
        "'\\x00ff', E'\"漢\",\\r\\n', '6ecd8c99-4036-403d-bf84-cf8400f67836', '{\"a\": 1}', "
        "'{1,NULL}'), "
        "(2, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL), "
        "(3, -0.0001, -1e-300, false, '0001-01-01', '00:00', '1969-12-31', '', '', NULL, '[]', "
        "'{}')");
    std::string rows;
    for (int i = 0; i < 300; ++i) {
        rows += "7\n";
    }
    EXPECT_THAT(database.Run({"import", "-", "c"}, rows + "x\n" + rows).err,
                AllOf(HasSubstr("line 301: error "), HasSubstr("invalid input syntax")));
}

TEST(MariaDbProgram, RunsScriptsAndMovesRows) {
    const MariaDbServer server;
    const Database database(
        Url("mysql", MariaDbServer::User(), server.Port(), MariaDbServer::Database()),
        MariaDbServer::Password());
    const Ended ended = database.Run(
        {},
        "/*!40101 SET NAMES utf8mb4 */;\nSET @kept = 'kept';\nDROP DATABASE testing;\nCREATE "
        "DATABASE `testing` "
        "CHARACTER SET "
        "utf8mb4;\nUSE `testing`;\nCREATE TABLE t(a INT, b INT);\nDELIMITER //\nCREATE TRIGGER g "
        "BEFORE INSERT "
        "ON t FOR EACH ROW BEGIN SET NEW.b = NEW.a * 2; SET NEW.a = 1; END//\nDELIMITER ;\n"
        "INSERT INTO t(a) VALUES (4); # a comment;\nSELECT *, 'it\\'s;', @kept FROM t;\n");
    EXPECT_EQ(ended.err, "");
    EXPECT_EQ(ended.out, "1,8,it's;,kept\r\n");
    database.ExpectRoundTrip(
        "(id BIGINT, n DECIMAL(20,4), r DOUBLE, ok BOOLEAN, d DATE, t TIME, ts DATETIME(6), raw "
        "BLOB, txt TEXT, "
        "u BIGINT UNSIGNED, c CHAR(5), s SET('a','b'))",
        "(1, 1234567890123456.7891, 0.1, true, '2026-11-22', '-100:59:59', '2026-11-22 "
        "08:00:00.000001', x'00ff', "
        "'\"漢\",\\r\\n', 18446744073709551615, 'ab', 'a,b'), "
        "(2, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL), "
        "(3, -0.0001, -1e-300, false, '1000-01-01', '00:00', '1969-12-31', '', '', 0, '', '')");
}

}  // namespace
