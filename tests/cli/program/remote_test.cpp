#include <future>

#include <gmock/gmock.h>

#include "messages/session_records.h"
#include "messages/type_codes.h"
#include "tests/agent/scripted_server.h"
#include "tests/cli/qxdb_program.h"
#include "tests/support/Certificates.h"
#include "tests/support/Lies.h"
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

TEST(RemoteTls, GoesByOptionsVariablesOrUrlAndHintsAtOptions) {
    qxdb_test::Certificates certificates;
    const qxdb_test::CertificateFiles files = certificates.Server({"db.example"});
    const QxdbServer server(QXDB_SERVER_PROGRAM, {"--tls-certificate", files.certificate,
                                                  "--tls-key", files.key, "--require-tls"});
    const std::string url = "://" + std::string(QxdbServer::kUser) + "@" + server.Address();
    const auto ping = [&](const std::string& scheme, std::vector<std::string> options,
                          std::vector<std::string> environment = {}) {
        options.insert(options.begin(), {"--db", scheme + url, "ping"});
        environment.push_back("QXDB_PASSWORD=" + std::string(QxdbServer::kPassword));
        return RunQxdb(options, {"", environment});
    };
    const std::vector<std::string> ca = {"--tls-ca", certificates.CaFile()};
    const std::vector<std::string> variables = {"QXDB_TLS_CA=" + certificates.CaFile(),
                                                "QXDB_TLS_NAME=db.example"};
    for (const Ended& good :
         {ping("qxdb", {ca[0], ca[1], "--tls-name", "db.example"}), ping("qxdbs", {}, variables),
          ping("qxdb", {"--tls"}, variables), ping("qxdb", {}, variables),
          ping("qxdbs", {"--tls-trust-any-server"}, {"QXDB_TLS=0", "QXDB_TLS_CA=nowhere"})}) {
        EXPECT_EQ(good.status, 0) << good.err;
        EXPECT_THAT(good.out, testing::EndsWith(", with TLS\n"));
    }
    const std::pair<Ended, const char*> refused[] = {
        {ping("qxdbs", {}), "--tls-ca"},
        {ping("qxdbs", ca), "--tls-name"},
        {ping("qxdb", {}), "--tls "},
        {ping("qxdb", {}, {"QXDB_TLS=0", variables[0]}), "--tls "},
        {ping("qxdbs", {"--tls-ca", "nowhere.pem"}), "nowhere.pem"},
    };
    for (const auto& [ended, hint] : refused) {
        EXPECT_EQ(ended.status, 3) << ended.out;
        EXPECT_THAT(ended.err, HasSubstr(hint));
    }
    EXPECT_EQ(ping("qxdb", {}, {"QXDB_TLS=perhaps"}).status, 2);
}

class LyingServer : public testing::Test {
  public:
    ~LyingServer() override { over_.set_value(); }

  protected:
    void TakeLogin() {
        CQXBASE::QXSesInfo session;
        session.token = L"token";
        session.info = L"1|~|0";
        server_.Reply(CQXBASE::kVirtualLogin, std::move(session));
    }
    void BeSilent() {
        server_.Do([over = over_.get_future().share()](ACE_SOCK_Stream& /*peer*/) {
            over.wait();
            return false;
        });
    }
    Ended Run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(),
                         {"--server", "127.0.0.1:" + std::to_string(server_.Port()), "--user",
                          "ada", "--timeout", "1"});
        return RunQxdb(arguments, {{}, {"QXDB_PASSWORD=x"}});
    }

    qxdb_test::ScriptedServer server_;

  private:
    std::promise<void> over_;
};

TEST_F(LyingServer, SilenceIsNotWaitedFor) {
    BeSilent();
    const Ended ping = Run({"ping"});
    EXPECT_EQ(ping.status, 3);
    EXPECT_THAT(ping.err, HasSubstr("error 10060: "));
}

TEST_F(LyingServer, SilenceBehindAStatementIsAnErrorAndNoLogoutWaitsAgain) {
    TakeLogin();
    BeSilent();
    const Ended ended = Run({"-c", "SELECT 1"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.err, HasSubstr("qxdb: -c 1:1: error 10060: "));
    EXPECT_EQ(server_.Requests().size(), 2U);
}

TEST_F(LyingServer, WhatItSendsNeitherFillsMemoryNorSteersTheTerminal) {
    TakeLogin();
    server_.Reply(CQXBASE::kQuery, qxdb_test::RecordsetBomb(3000000), false);
    server_.Reply(CQXBASE::kErrorReply, CQXBASE::QXSimpleMsg(L"\u009b2J\x1b[2J\u202e", 9));
    server_.Reply(CQXBASE::kVirtualLogout, CQXBASE::QXSimpleMsg(L"", 0));
    const Ended ended = Run({"-k", "--max-reply", "16", "-c", "SELECT 1", "-c", "SELECT 2"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(
        ended.err,
        "qxdb: -c 1:1: error -5008: the server's reply is larger than the 16777216 bytes that "
        "are allowed: use pages or a narrower query.\n    SELECT 1\n"
        "qxdb: -c 2:1: error 9: \\u009b2J\\x1b[2J\\u202e\n    SELECT 2\n");
}

}  // namespace
