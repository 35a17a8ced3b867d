#include <gmock/gmock.h>

#include "tests/cli/qxdb_program.h"
#include "tests/support/QxdbServer.h"

namespace {

using qxdb_test::Ended;
using qxdb_test::QxdbServer;
using qxdb_test::RunQxdb;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class Remote : public testing::Test {
  protected:
    Remote()
        : server_(QXDB_SERVER_PROGRAM, {"--database", "main=sqlite:" + folder_.File("main.db"),
                                        "--database", "other=sqlite:" + folder_.File("other.db")}) {
    }

    Ended Run(std::vector<std::string> arguments, const std::string& input = {},
              const std::string& password = QxdbServer::kPassword) const {
        arguments.insert(arguments.begin(), {"--server", server_.Address(), "--user",
                                             QxdbServer::kUser, "--format", "csv", "--no-header"});
        return RunQxdb(arguments, {input, {"QXDB_PASSWORD=" + password}});
    }

    qxdb_test::TempDir folder_;
    QxdbServer server_;
};

TEST_F(Remote, ScriptsRunOnTheServersDatabases) {
    const Ended ended = Run({},
                            "CREATE TABLE t(a, b);\nBEGIN;\nINSERT INTO t VALUES (1, '漢');\n"
                            "SELECT count(*) FROM t;\nCOMMIT;\n\\c other\n"
                            "SELECT count(*) FROM sqlite_master;\nUSE main;\nSELECT * FROM t;\n");
    EXPECT_EQ(ended.err, "");
    EXPECT_EQ(ended.out, "1\r\n\r\n0\r\n\r\n1,漢\r\n");
    EXPECT_EQ(Run({"--database", "other", "-c", "SELECT count(*) FROM sqlite_master"}).out,
              "0\r\n");
    const Ended failed = Run({}, "BEGIN;\nDELETE FROM t;\nDELETE FROM nowhere;\nCOMMIT;");
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.err,
                StartsWith("qxdb: standard input:3: error 1: no such table: nowhere\n"));
    EXPECT_EQ(Run({"-c", "SELECT count(*) FROM t WHERE a = ?", "--param", "1"}).out, "1\r\n");
    EXPECT_EQ(Run({}, "\\c nowhere").status, 3);
}

TEST_F(Remote, PingAndLoginsTellTheirOutcome) {
    const Ended ping = Run({"ping"});
    EXPECT_EQ(ping.status, 0);
    EXPECT_THAT(ping.out, AllOf(StartsWith(server_.Address() + " answers: "), HasSubstr(" ms")));
    const Ended refused = Run({"ping"}, "", "wrong-word");
    EXPECT_EQ(refused.status, 3);
    EXPECT_THAT(refused.err,
                AllOf(HasSubstr("wrong user name or password"), Not(HasSubstr("wrong-word"))));
    EXPECT_EQ(Run({"ping"}, "", "a|~|b").status, 2) << "would change the login's meaning";
    qxdb_test::WriteFile(folder_.Path() / "password",
                         std::string(QxdbServer::kPassword) + "\r\nsecond line\n");
    EXPECT_EQ(Run({"ping", "--password-file", folder_.File("password")}, "", "wrong-word").status,
              0);
    EXPECT_EQ(Run({"ping", "--password-file", folder_.File("missing")}).status, 2);
}

}  // namespace
