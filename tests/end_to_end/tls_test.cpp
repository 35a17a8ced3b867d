// TLS between the agent and the real server.
#include <gtest/gtest.h>

#include "tests/support/Certificates.h"
#include "tests/support/RemoteAgent.h"

namespace {

using namespace CQXDB;
using namespace qxdb_test;
using std::chrono::hours;

std::vector<std::string> With(const CertificateFiles& files, std::vector<std::string> more = {}) {
    std::vector<std::string> arguments = {"--tls-certificate", files.certificate, "--tls-key",
                                          files.key};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

/// Logs in, works, and gives the code of the first failure and its text.
std::pair<long, std::string> Try(const QxdbServer& server, const QXTlsInfo& tls,
                                 const std::wstring& host = L"127.0.0.1") {
    DBAgent agent;
    agent.SetTls(tls);
    std::wstring info;
    std::wstring token;
    const std::string login = std::string(QxdbServer::kUser) + "|~|" + QxdbServer::kPassword;
    if (!agent.Login(host, server.Port(), {}, Wide(login), info, token)) {
        return {agent.errCode_, Utf8(agent.errText_)};
    }
    agent.SetIsLocal(false);
    const Answer answer = Query(agent, L"SELECT 6 * 7");
    return {answer.code, Utf8(answer.text)};
}

void ExpectFailure(const std::pair<long, std::string>& outcome, long code,
                   const std::string& text) {
    EXPECT_EQ(outcome.first, code) << outcome.second;
    EXPECT_NE(outcome.second.find(text), std::string::npos) << outcome.second;
}

TEST(Tls, CarriesWorkOfAnySizeWithCertificatesOfTheServersOwn) {
    QxdbServer server(QXDB_SERVER_PROGRAM, {"--require-tls"}, {}, [](const std::string& data) {
        RunToSuccess({QXDB_SERVER_PROGRAM, "tls", "init", "--data", data, "--host", "127.0.0.1"});
    });
    QXTlsInfo tls;
    tls.enabled = true;
    tls.caFile = (server.Folder().Path() / "tls" / "ca.pem").wstring();
    DBAgent agent;
    agent.SetTls(tls);
    LogIn(agent, server);
    ASSERT_EQ(Execute(agent, L"CREATE TABLE t(n INTEGER, s TEXT)").code, 0);
    QXCommandList list;
    for (int i = 0; i < 30000; ++i) {
        QXCommand command(L"INSERT INTO t VALUES(?, hex(randomblob(20)))");
        command.AddParam(QXValue::Int64(i));
        list.Add(command);
    }
    const Answer filled = Execute(agent, list);
    ASSERT_EQ(filled.code, 0) << filled;
    const Answer all = Query(agent, L"SELECT * FROM t ORDER BY n");
    ASSERT_EQ(all.code, 0) << Utf8(all.text);
    ASSERT_EQ(all.rows.RowCount(), 30000U);
    const Answer sum = Query(agent, L"SELECT sum(n), min(length(s)) FROM t");
    EXPECT_EQ(sum.rows.GetInt64(0, 0), 30000LL * 29999 / 2);
    EXPECT_EQ(sum.rows.GetInt64(0, 1), 40);
    EXPECT_TRUE(agent.Shakehand());
    EXPECT_TRUE(agent.SendMsg(L"hello"));
}

TEST(Tls, SaysWhatIsWrongWithTheServersCertificate) {
    Certificates known;
    const Certificates unknown;
    const QXTlsInfo trusting = known.Info();
    {
        const QxdbServer server(QXDB_SERVER_PROGRAM, With(known.Server({"db.test", "10.1.2.3"})));
        ExpectFailure(Try(server, trusting), QXTLS_WRONG_NAME,
                      "not for '127.0.0.1' but for db.test, 10.1.2.3");
        QXTlsInfo named = trusting;
        for (const wchar_t* name : {L"db.test", L"10.1.2.3"}) {
            named.serverName = name;
            EXPECT_EQ(Try(server, named).first, 0) << Try(server, named).second;
        }
        ExpectFailure(Try(server, unknown.Info()), QXTLS_UNTRUSTED, "issued by 'CN=tests'");
        QXTlsInfo system = trusting;
        system.caFile.clear();
        ExpectFailure(Try(server, system), QXTLS_UNTRUSTED, "give its issuer's certificate");
        QXTlsInfo anybody = unknown.Info();
        anybody.trustAnyServerWithoutVerification = true;
        EXPECT_EQ(Try(server, anybody).first, 0) << Try(server, anybody).second;
    }
    {
        const QxdbServer server(QXDB_SERVER_PROGRAM,
                                With(known.Server({"127.0.0.1"}, {-hours(1), -hours(9)})));
        ExpectFailure(Try(server, trusting), QXTLS_EXPIRED, "'CN=server' has expired on 20");
    }
    {
        const QxdbServer server(QXDB_SERVER_PROGRAM,
                                With(known.Server({"127.0.0.1"}, {hours(9), hours(1)})));
        ExpectFailure(Try(server, trusting), QXTLS_NOT_YET_VALID, "is not valid before 20");
    }
}

TEST(Tls, SaysWhatIsWrongWithTheClient) {
    Certificates known;
    Certificates unknown;
    const QxdbServer server(QXDB_SERVER_PROGRAM,
                            With(known.Server(), {"--tls-client-ca", known.CaFile()}));
    const auto with = [&known](const CertificateFiles& files, QXTlsVersion oldest) {
        QXTlsInfo info = known.Info();
        info.certificateFile = Wide(files.certificate);
        info.keyFile = Wide(files.key);
        info.oldestVersion = oldest;
        return info;
    };
    ExpectFailure(Try(server, known.Info()), QXTLS_CERTIFICATE_WANTED, "give one, with its key");
    ExpectFailure(Try(server, with(unknown.Client(), QXTLS_1_3)), QXTLS_CERTIFICATE_REFUSED,
                  "unknown ca");
    ExpectFailure(Try(server, with(known.Client({-hours(1), -hours(9)}), QXTLS_1_3)),
                  QXTLS_CERTIFICATE_REFUSED, "expired");
    ExpectFailure(Try(server, with(known.Server(), QXTLS_1_3)), QXTLS_CERTIFICATE_REFUSED,
                  "unsupported certificate");
    const CertificateFiles good = known.Client();
    const auto outcome = Try(server, with(good, QXTLS_1_2));
    EXPECT_EQ(outcome.first, 0) << outcome.second;
    CertificateFiles mixed = good;
    mixed.key = known.Client().key;
    ExpectFailure(Try(server, with(mixed, QXTLS_1_3)), QXTLS_BAD_SETTINGS, "is not that of");
    mixed.key = "nowhere.pem";
    ExpectFailure(Try(server, with(mixed, QXTLS_1_3)), QXTLS_BAD_SETTINGS,
                  "'nowhere.pem' can't be used: No such file");
}

TEST(Tls, NeverSpeaksPlainWhenAskedForTlsNorTheOtherWayRound) {
    Certificates certificates;
    const CertificateFiles files = certificates.Server();
    QxdbServer server(QXDB_SERVER_PROGRAM, With(files, {"--log-level", "debug"}));
    DBAgent agent;
    LogIn(agent, server);
    EXPECT_EQ(server.Log().find("TLSv1.3"), std::string::npos);
    agent.SetTls(certificates.Info());
    EXPECT_EQ(Query(agent, L"SELECT 1").code, 0);
    EXPECT_NE(server.Log().find("TLSv1.3"), std::string::npos) << server.Log();

    const QxdbServer plain(QXDB_SERVER_PROGRAM);
    ExpectFailure(Try(plain, certificates.Info()), QXTLS_NOT_SPOKEN, "speaks no TLS");

    QxdbServer strict(QXDB_SERVER_PROGRAM, With(files, {"--require-tls"}));
    ExpectFailure(Try(strict, {}), -6035, "over TLS only");
    strict.Kill();
    ExpectFailure(Try(strict, certificates.Info()), 10061, "no listener");
}

}  // namespace
