#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "tests/cli/prompt/terminal.h"
#include "tests/cli/qxdb_program.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"

namespace {

using qxdb_test::Terminal;
using testing::HasSubstr;
using testing::Not;

class Interactive : public testing::Test {
  protected:
    std::vector<std::string> Environment() const {
        return {"XDG_STATE_HOME=" + folder_.File("state"), "HOME=" + folder_.File(""), "TERM=xterm",
                "LC_ALL=C",
                // The C library's frames hide their callers from the quick way of unwinding.
                "ASAN_OPTIONS=fast_unwind_on_malloc=0",
                std::string("LSAN_OPTIONS=print_suppressions=0:suppressions=") +
                    QXDB_LSAN_SUPPRESSIONS};
    }
    std::vector<std::string> OnDatabase(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> arguments{"--db", "sqlite:" + folder_.File("test.db")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }

    qxdb_test::TempDir folder_;
};

TEST_F(Interactive, StatementsMayTakeSeveralLines) {
    Terminal terminal(QXDB_PROGRAM, OnDatabase(), Environment());
    terminal.Answer("qxdb> ", "SELECT '漢\n");
    terminal.Answer("   '> ", "字' AS two,\n");
    terminal.Answer("   -> ", "40 + 2; SELECT 7 * 6\n");
    terminal.WaitFor(" 漢\\n字 |     42");
    terminal.Answer("   -> ", "AS again;\n");
    terminal.WaitFor("    42");
    terminal.Answer("qxdb> ", "/* a\n");
    terminal.Answer("   *> ", "*/ CREATE TABLE t(a);\n");
    terminal.WaitFor("OK\r\n");
    terminal.Answer("qxdb> ", "\\q\n");
    EXPECT_EQ(terminal.WaitForEnd(), 0);
}

TEST_F(Interactive, ErrorsAndCtrlCLeaveThePrompt) {
    Terminal terminal(QXDB_PROGRAM, OnDatabase(), Environment());
    terminal.Answer("qxdb> ", "SELEC;\n");
    terminal.WaitFor("syntax error");
    terminal.Answer("qxdb> ", "SELECT 'dropped\n");
    terminal.Answer("   '> ", "half a line\x03");
    terminal.WaitFor("^C");
    terminal.Answer("qxdb> ", "SELECT 6 * 7 AS kept;\n");
    EXPECT_THAT(terminal.WaitFor("   42"), Not(HasSubstr("dropped")));
    terminal.Answer("qxdb> ", "BEGIN;\n");
    terminal.Answer("qxdb*> ", "\\i missing\n");
    terminal.Answer("qxdb!> ", "ROLLBACK; BEGIN;\n");
    terminal.Answer("qxdb*> ", "\x04");
    terminal.WaitFor("without a COMMIT");
    EXPECT_EQ(terminal.WaitForEnd(), 0);
}

TEST_F(Interactive, LongResultsComeInPortions) {
    Terminal terminal(QXDB_PROGRAM, OnDatabase(), Environment());
    const std::string rows =
        " FROM (WITH RECURSIVE c(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM c";
    terminal.Answer("qxdb> ", "SELECT n" + rows + " LIMIT 2500) SELECT n FROM c);\n");
    terminal.WaitFor("2500\r\n(2500 rows)");
    terminal.Answer("qxdb> ", "SELECT CASE n WHEN 1500 THEN json('x') ELSE n END AS v" + rows +
                                  ") SELECT n FROM c);\n");
    EXPECT_THAT(terminal.WaitFor("malformed JSON"), HasSubstr(" 1000\r\n"));
    terminal.Answer("qxdb> ", "SELECT 40 + 2;\n");
    terminal.WaitFor("    42");
}

TEST_F(Interactive, LinesAreRememberedForTheirOwner) {
    {
        Terminal first(QXDB_PROGRAM, OnDatabase(), Environment());
        first.Answer("qxdb> ", "SELECT 12345 + 1;\n");
        first.WaitFor("12346");
        first.Answer("qxdb> ", "SELECT 'password';\n");
        first.WaitFor("(1 row)");
        first.Answer("qxdb> ", "exit\n");
        EXPECT_EQ(first.WaitForEnd(), 0);
    }
    const auto file = folder_.Path() / "state/qxdb/history";
    EXPECT_THAT(qxdb_test::ReadFile(file), AllOf(HasSubstr("12345"), Not(HasSubstr("password"))));
    struct stat status {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    Terminal second(QXDB_PROGRAM, OnDatabase(), Environment());
    second.Answer("qxdb> ", "\x1b[A\x1b[A\n");
    second.WaitFor("12346");
}

TEST_F(Interactive, PasswordsAreNotShown) {
    Terminal terminal(QXDB_PROGRAM, {"--server", "127.0.0.1:1", "--user", "anna", "ping"},
                      Environment());
    terminal.Answer("Password of anna at 127.0.0.1:1: ", "secret\n");
    EXPECT_THAT(terminal.WaitFor("error 10061"), Not(HasSubstr("secret")));
    EXPECT_EQ(terminal.WaitForEnd(), 3);
}

TEST_F(Interactive, ProgressIsShownOnATerminalAndWipedAway) {
    std::string csv = "a\n";
    for (int i = 0; i < 3000; ++i) {
        csv += "1\n";
    }
    qxdb_test::WriteFile(folder_.Path() / "rows.csv", csv);
    qxdb_test::RunQxdb(OnDatabase({"-c", "CREATE TABLE t(a)"}));
    Terminal terminal(QXDB_PROGRAM,
                      OnDatabase({"import", folder_.File("rows.csv"), "t", "--batch", "1500"}),
                      Environment());
    terminal.WaitFor("100 %  1,500 rows");
    terminal.WaitFor("\r" + std::string(99, ' ') + "\r3,000 rows imported into t");
    EXPECT_EQ(terminal.WaitForEnd(), 0);
}

TEST_F(Interactive, AnInterruptedImportEndsBehindABatch) {
    ASSERT_EQ(qxdb_test::RunQxdb(OnDatabase({"-c", "CREATE TABLE t(a)"})).status, 0);
    const std::string pipe = folder_.File("rows.csv");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    qxdb_test::ChildProcess import(QXDB_PROGRAM,
                                   OnDatabase({"import", pipe, "t", "--batch", "100"}));
    // Opening waits for the reader, which listens to signals by then.
    const int rows = open(pipe.c_str(), O_WRONLY);
    ASSERT_EQ(kill(import.Pid(), SIGINT), 0);
    signal(SIGPIPE, SIG_IGN);
    ASSERT_EQ(write(rows, "a\n", 2), 2);
    const std::string line(100, '7');
    while (write(rows, (line + "\n").data(), line.size() + 1) > 0) {
    }
    close(rows);
    EXPECT_EQ(import.Wait(), 1);
    EXPECT_THAT(import.Errors(),
                testing::ContainsRegex("rows.csv: stopped; [1-9][0-9,]*00 rows imported; "
                                       "--from-line [0-9]+2 goes on"));
}

}  // namespace
