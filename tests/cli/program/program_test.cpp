#include <gmock/gmock.h>

#include "tests/cli/qxdb_program.h"
#include "tests/support/TempDir.h"

namespace {

using qxdb_test::Ended;
using qxdb_test::RunQxdb;
using qxdb_test::TempDir;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class Program : public testing::Test {
  protected:
    /// Runs the program on the test's database, with csv results.
    Ended Run(std::vector<std::string> arguments, const std::string& input = {}) const {
        arguments.insert(arguments.begin(), {"--db", Db(), "--format", "csv", "--no-header"});
        return RunQxdb(arguments, {input});
    }
    std::string Query(const std::string& sql) const { return Run({"-c", sql}).out; }
    std::string Db() const { return "sqlite:" + folder_.File("test.db"); }
    std::string Write(const std::string& name, const std::string& text) const {
        qxdb_test::WriteFile(folder_.Path() / name, text);
        return folder_.File(name);
    }

    TempDir folder_;
};

TEST_F(Program, ExitStatusTellsWhatWentWrong) {
    EXPECT_EQ(Run({"-c", "SELECT 1"}).status, 0);
    const Ended failed = Run({"-c", "SELECT 1; SELECT * FROM nowhere"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_EQ(failed.out, "1\r\n");
    EXPECT_EQ(failed.err,
              "qxdb: -c 1:1: error 1: no such table: nowhere\n    SELECT * FROM nowhere\n");
    const Ended usage = RunQxdb({"--nonsense"});
    EXPECT_EQ(usage.status, 2);
    EXPECT_THAT(usage.err, HasSubstr("--nonsense"));
    EXPECT_EQ(Run({"-f", folder_.File("missing.sql")}).status, 2);
    EXPECT_EQ(RunQxdb({"--db", "sqlite:" + folder_.File("no/such/folder/x.db")}).status, 3);
    EXPECT_EQ(RunQxdb({"--db", Db(), "ping"}).status, 0);
    EXPECT_EQ(Run({"-c", "SELECT ?; SELECT ?", "--param", "5"}).status, 2);
}

TEST_F(Program, WhatADatabaseTellsCantSteerTheTerminal) {
    const Ended failed = Run({"-c",
                              "SELECT * FROM \"\xC2\x9B"
                              "2J\xE2\x80\xAE\x1b[2J\r\n!\""});
    EXPECT_EQ(failed.err,
              "qxdb: -c 1:1: error 1: no such table: \\u009b2J\\u202e\\x1b[2J\n!\n"
              "    SELECT * FROM \"\\u009b2J\\u202e\\x1b[2J\\r\\n!\"\n");
    EXPECT_THAT(Run({"export", "SELECT * FROM \"\x1b[2J\"", "-"}).err, HasSubstr(": \\x1b[2J"));
}

TEST_F(Program, HelpAndVersionAreNoErrors) {
    const Ended help = RunQxdb({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, AllOf(HasSubstr("--password-file FILE"), HasSubstr("Exit status")));
    EXPECT_THAT(RunQxdb({"import", "--help"}).out, HasSubstr("--from-line"));
    const Ended version = RunQxdb({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(version.out, StartsWith("qxdb "));
}

TEST_F(Program, ScriptsRunInTheirOrder) {
    const std::string file = Write("b.sql",
                                   "\xEF\xBB\xBF"
                                   "CREATE TABLE log(id INTEGER, note TEXT);\r\n"
                                   "CREATE TABLE t(a);\r\nCREATE TRIGGER g AFTER INSERT ON t BEGIN "
                                   "INSERT INTO log VALUES (new.a, 'a;b'); END;\r\n"
                                   "INSERT INTO t VALUES (7); -- ;");
    const Ended ended =
        Run({"-c", "SELECT 1", "-f", file, "-c", "SELECT * FROM log", "-f", "-"}, "SELECT '漢'");
    EXPECT_EQ(ended.err, "");
    EXPECT_EQ(ended.out, "1\r\n\r\n7,a;b\r\n\r\n漢\r\n");
}

TEST_F(Program, AFailureStopsTheScriptUnlessToldOtherwise) {
    const std::string script =
        "CREATE TABLE t(a);\n\nINSERT INTO\n nowhere VALUES (1);\nINSERT INTO t "
        "VALUES (2);";
    const Ended stopped = Run({}, script);
    EXPECT_EQ(stopped.status, 1);
    EXPECT_THAT(stopped.err,
                StartsWith("qxdb: standard input:3: error 1: no such table: nowhere\n"));
    EXPECT_EQ(Query("SELECT count(*) FROM t"), "0\r\n");
    EXPECT_EQ(Run({"-k"}, "DROP TABLE t;" + script + "\n\\q").status, 1);
    EXPECT_EQ(Query("SELECT a FROM t"), "2\r\n");
}

TEST_F(Program, WhatStandsBetweenBeginAndCommitIsOneTransaction) {
    const Ended whole = Run({},
                            "CREATE TABLE t(a UNIQUE);\nBEGIN;\nINSERT INTO t VALUES (1);\n"
                            "SELECT a + 1 FROM t;\nCOMMIT;\nBEGIN; DELETE FROM t; ROLLBACK;");
    EXPECT_EQ(whole.err, "");
    EXPECT_EQ(whole.out, "2\r\n");
    const Ended failed =
        Run({}, "BEGIN;\nINSERT INTO t VALUES (2);\nINSERT INTO t VALUES (1);\nCOMMIT;");
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.err, AllOf(HasSubstr("standard input:3: error"), HasSubstr("UNIQUE"),
                                  HasSubstr("INSERT INTO t VALUES (1)"), HasSubstr("line 1"),
                                  Not(HasSubstr("command"))));
    const Ended open = Run({}, "BEGIN;\nDELETE FROM t;\n");
    EXPECT_EQ(open.status, 1);
    EXPECT_THAT(open.err, HasSubstr("without a COMMIT"));
    EXPECT_EQ(Query("SELECT a FROM t"), "1\r\n");
}

TEST_F(Program, NothingOfATransactionRunsWhenAPartOfItCant) {
    ASSERT_EQ(Query("CREATE TABLE t(a)"), "");
    const std::string notUtf8 = "INSERT INTO t VALUES ('caf\xE9');\n";
    const std::string beginnings[] = {"BEGIN READ ONLY;\n", "BEGIN;\n\\i missing\n",
                                      "BEGIN;\nBEGIN;\n", "BEGIN;\n\\c elsewhere\n",
                                      "BEGIN;\n" + notUtf8};
    for (const std::string& wrong : beginnings) {
        const std::string script = wrong + "INSERT INTO t VALUES (1);\n";
        for (const std::string end : {"COMMIT;\nINSERT INTO t VALUES (2);", ""}) {
            const Ended ended = Run({"-k"}, script + end);
            EXPECT_EQ(ended.status, 1) << wrong;
            EXPECT_THAT(ended.err, HasSubstr("nothing of the transaction that begins on line 1"));
            EXPECT_EQ(Query("SELECT a FROM t; DELETE FROM t"), end.empty() ? "" : "2\r\n") << wrong;
        }
    }
    EXPECT_THAT(Run({"-k"}, "BEGIN;\n" + notUtf8 + "ROLLBACK;").err,
                AllOf(StartsWith("qxdb: standard input:2: the statement is not UTF-8 text"),
                      Not(HasSubstr("nothing of"))));
    EXPECT_EQ(Run({"-k", "-1"}, "INSERT INTO t VALUES (1);\n" + notUtf8).status, 1);
    EXPECT_EQ(Query("SELECT a FROM t"), "");
}

TEST_F(Program, AScriptCanBeOneTransaction) {
    EXPECT_EQ(Run({"-1"}, "CREATE TABLE t(a); BEGIN; INSERT INTO t VALUES (1); COMMIT;").status, 0);
    EXPECT_EQ(Run({"-1"}, "INSERT INTO t VALUES (2);\nINSERT INTO nowhere VALUES (1);").status, 1);
    EXPECT_EQ(Run({"-1"}, "INSERT INTO t VALUES (3); ROLLBACK;").status, 1);
    EXPECT_EQ(Run({"-1"}, "INSERT INTO t VALUES (4);\n\\q\nINSERT INTO t VALUES (5);").status, 0);
    EXPECT_EQ(Query("SELECT a FROM t"), "1\r\n4\r\n");
}

TEST_F(Program, PagesAreFetchedByNumber) {
    const std::string five = "VALUES (1), (2), (3), (4), (5)";
    EXPECT_EQ(Run({"-c", five, "--page-size", "2", "--page", "3"}).out, "5\r\n");
    EXPECT_EQ(Run({"-c", five, "--page-size", "2"}).out, "1\r\n2\r\n");
}

TEST_F(Program, BackslashCommandsWorkInScripts) {
    const std::string included = Write("in.sql", "SELECT 'included';\n\\q\nSELECT 'not reached';");
    const std::string other = folder_.File("other db");
    const Ended ended =
        Run({},
            "CREATE TABLE \"my table\"(a INTEGER NOT NULL);\n\\d\n\\d \"my table\"\n"
            "\\i '" +
                included + "'\n\\format json\n\\c '" + other +
                "';\n"
                "SELECT count(*) AS n FROM sqlite_master;\n\\q\nSELECT 1;");
    EXPECT_EQ(ended.err, "");
    EXPECT_EQ(ended.out,
              "my table,table\r\n\r\na,INTEGER,NO,,0\r\n\r\nincluded\r\n[\n{\"n\":0}\n]\n");
    for (const std::string wrong :
         {"\\nonsense", "\\d nowhere", "\\format xml", "\\c", "\\i missing", "\\restrict k\n\\d",
          "\\timing maybe", "\\q now"}) {
        const Ended refused = Run({}, wrong);
        EXPECT_EQ(refused.status, 1) << wrong;
        EXPECT_THAT(refused.err, HasSubstr("qxdb: standard input:")) << wrong;
    }
    const std::string itself = Write("loop.sql", "\\i '" + folder_.File("loop.sql") + "'");
    EXPECT_THAT(Run({"-f", itself}).err, HasSubstr("16 deep"));
    EXPECT_EQ(Run({}, "\\c /no/such/folder/x\nSELECT 1;").status, 3);
}

TEST_F(Program, BrokenScriptsAreReportedWhereTheyBreak) {
    const Ended open = Run({}, "SELECT 1;\nSELECT 'never closed;\nSELECT 2;\n");
    EXPECT_EQ(open.status, 1);
    EXPECT_EQ(open.out, "1\r\n");
    EXPECT_THAT(open.err, HasSubstr("standard input:2: the script ends inside a quoted text"));
    EXPECT_THAT(Run({}, "SELECT 'caf\xE9';").err, HasSubstr("not UTF-8"));
    EXPECT_THAT(Run({}, "ROLLBACK;").err, HasSubstr("without BEGIN"));
}

TEST_F(Program, TimingStaysOffStandardOutput) {
    const Ended ended = Run({"--timing", "-c", "SELECT 1"});
    EXPECT_EQ(ended.out, "1\r\n");
    EXPECT_THAT(ended.err, AllOf(StartsWith("Time: "), EndsWith(" ms\n")));
}

}  // namespace
