// TLS with programs of others at the other end, on the way and beside it.
#include <gtest/gtest.h>

#include "tests/support/Certificates.h"
#include "tests/support/Frame.h"
#include "tests/support/FreePort.h"
#include "tests/support/ProxyServers.h"
#include "tests/support/RemoteAgent.h"

namespace {

using namespace CQXDB;
using namespace qxdb_test;

/// A program that listens on a port of its own.
class Listening {
  public:
    using Words = std::function<std::vector<std::string>(const std::string& port)>;

    explicit Listening(const std::string& program, const Words& words) : port_(FreePort()) {
        process_ = std::make_unique<ChildProcess>(program, words(std::to_string(port_)));
        if (!process_->WaitUntil([this] { return Listens(port_); })) {
            throw std::runtime_error(program + " doesn't listen: " + process_->Errors());
        }
    }
    std::uint16_t Port() const noexcept { return port_; }
    ChildProcess& Process() noexcept { return *process_; }

  private:
    std::uint16_t port_;
    std::unique_ptr<ChildProcess> process_;
};

const std::string kLogin = std::string(QxdbServer::kUser) + "|~|" + QxdbServer::kPassword;

class TlsCounterparts : public ::testing::Test {
  protected:
    static std::vector<std::string> ServerWords(const CertificateFiles& files) {
        return {"--tls-certificate", files.certificate, "--tls-key", files.key, "--require-tls"};
    }

    bool LogInAt(DBAgent& agent, std::uint16_t port, const QXTlsInfo& tls,
                 const QXProxyInfo& proxy = {}, const std::wstring& host = L"127.0.0.1") {
        std::wstring info;
        std::wstring token;
        agent.SetTls(tls);
        agent.SetIsLocal(true);
        const bool done = agent.Login(host, port, proxy, Wide(kLogin), info, token);
        agent.SetIsLocal(!done);
        return done;
    }
    void ExpectWork(std::uint16_t port, const QXTlsInfo& tls, const QXProxyInfo& proxy = {}) {
        DBAgent agent;
        ASSERT_TRUE(LogInAt(agent, port, tls, proxy)) << agent.errCode_ << Utf8(agent.errText_);
        for (int i = 0; i < 3; ++i) {
            const Answer answer = Query(agent, L"SELECT 6 * 7");
            ASSERT_EQ(answer.code, 0) << answer;
            EXPECT_EQ(answer.rows.GetInt64(0, 0), 42);
        }
    }

    Certificates certificates_;
    const CertificateFiles files_ = certificates_.Server();
};

TEST_F(TlsCounterparts, EachProxyCarriesIt) {
    const QxdbServer server(QXDB_SERVER_PROGRAM, ServerWords(files_));
    const auto through = [&](QXProxyKind kind, const std::unique_ptr<ProxyServer>& proxy,
                             bool credentials) {
        QXProxyInfo info;
        info.kind = kind;
        info.host = L"127.0.0.1";
        info.port = proxy->Port();
        info.user = credentials ? Wide(kProxyUser) : L"";
        info.password = credentials ? Wide(kProxyPassword) : L"";
        SCOPED_TRACE(kind);
        ExpectWork(server.Port(), certificates_.Info(), info);
    };
    through(QXPROXY_HTTP, StartTinyproxy(ProxyAccess::Open), false);
    through(QXPROXY_HTTP, StartSquid(ProxyAccess::Password), true);
    through(QXPROXY_SOCKS4, StartDante(ProxyAccess::Open), false);
    through(QXPROXY_SOCKS5, StartMicrosocks(ProxyAccess::Password), true);
}

TEST_F(TlsCounterparts, StunnelAtEitherEnd) {
    const TempDir folder;
    const auto stunnel = [&](const std::string& name, const std::string& service) {
        return Listening("stunnel", [&, name](const std::string& port) {
            WriteFile(folder.File(name),
                      "foreground = yes\npid =\n[x]\naccept = 127.0.0.1:" + port + "\n" + service);
            return std::vector<std::string>{folder.File(name)};
        });
    };
    const QxdbServer plain(QXDB_SERVER_PROGRAM, {"--log-level", "debug"});
    {
        // It gives its clients session tickets, which an idle connection must outlive.
        const Listening before =
            stunnel("server", "connect = " + plain.Address() + "\ncert = " + files_.certificate +
                                  "\nkey = " + files_.key + "\n");
        const std::string log = plain.Log();
        ExpectWork(before.Port(), certificates_.Info());
        const std::string more = plain.Log().substr(log.size());
        const std::size_t first = more.find(": from ");
        EXPECT_NE(first, std::string::npos) << more;
        EXPECT_EQ(more.find(": from ", first + 1), std::string::npos) << more;
    }
    const QxdbServer server(QXDB_SERVER_PROGRAM, ServerWords(files_));
    const Listening behind = stunnel(
        "client",
        "client = yes\nconnect = " + server.Address() +
            "\nverifyChain = yes\ncheckIP = 127.0.0.1\nCAfile = " + certificates_.CaFile() + "\n");
    ExpectWork(behind.Port(), {});
}

TEST_F(TlsCounterparts, OpenSslAsTheClientFindsModernVersionsAloneAndNoTickets) {
    const QxdbServer server(QXDB_SERVER_PROGRAM, ServerWords(files_));
    const auto ask = [&](std::vector<std::string> more) {
        std::vector<std::string> words = {"s_client",
                                          "-connect",
                                          server.Address(),
                                          "-CAfile",
                                          certificates_.CaFile(),
                                          "-verify_return_error",
                                          "-verify_ip",
                                          "127.0.0.1"};
        words.insert(words.end(), more.begin(), more.end());
        ChildProcess client("openssl", words);
        const bool settled = client.WaitUntil([&client] {
            return !client.Running() ||
                   client.Output().find("Extended master secret") != std::string::npos ||
                   client.Output().find("Verify return code") != std::string::npos;
        });
        EXPECT_TRUE(settled || !client.Running());
        client.CloseInput();
        client.Wait();
        return client.Output() + client.Errors();
    };
    const std::string newest = ask({});
    EXPECT_NE(newest.find("New, TLSv1.3, Cipher is TLS_AES_128_GCM_SHA256"), std::string::npos)
        << newest;
    EXPECT_NE(newest.find("Verify return code: 0 (ok)"), std::string::npos) << newest;
    EXPECT_EQ(newest.find("Session Ticket arrived"), std::string::npos) << newest;
    const std::string older = ask({"-tls1_2"});
    EXPECT_NE(older.find("New, TLSv1.2, Cipher is ECDHE-"), std::string::npos) << older;
    const std::string cbc = ask({"-tls1_2", "-cipher", "ECDHE-ECDSA-AES256-SHA384"});
    EXPECT_NE(cbc.find("Cipher is (NONE)"), std::string::npos) << cbc;
    const std::string old = ask({"-tls1_1", "-cipher", "DEFAULT@SECLEVEL=0"});
    EXPECT_NE(old.find("alert protocol version"), std::string::npos) << old;
}

TEST_F(TlsCounterparts, OpenSslAsTheServerIsToldApart) {
    const auto server = [&](std::vector<std::string> more) {
        return Listening("openssl", [&](const std::string& port) {
            std::vector<std::string> words = {"s_server", "-accept",          "127.0.0.1:" + port,
                                              "-cert",    files_.certificate, "-key",
                                              files_.key};
            words.insert(words.end(), more.begin(), more.end());
            return words;
        });
    };
    const auto code = [&](const Listening& at) {
        DBAgent agent;
        EXPECT_FALSE(LogInAt(agent, at.Port(), certificates_.Info()));
        return std::pair(agent.errCode_, Utf8(agent.errText_));
    };
    const auto old = code(server({"-tls1_1", "-cipher", "DEFAULT@SECLEVEL=0"}));
    EXPECT_EQ(old.first, QXTLS_NO_COMMON_VERSION) << old.second;
    const auto older = code(server({"-tls1_2"}));
    EXPECT_EQ(older.first, QXTLS_NO_COMMON_VERSION) << older.second;
    const auto asks =
        code(server({"-Verify", "1", "-verify_return_error", "-CAfile", certificates_.CaFile()}));
    EXPECT_EQ(asks.first, QXTLS_CERTIFICATE_WANTED) << asks.second;
    const auto rare = code(server({"-ciphersuites", "TLS_AES_128_CCM_SHA256"}));
    EXPECT_EQ(rare.first, QXTLS_NO_COMMON_VERSION) << rare.second;
}

TEST_F(TlsCounterparts, ACaptureShowsNothingOfASession) {
    const QxdbServer server(QXDB_SERVER_PROGRAM, ServerWords(files_));
    const TempDir folder;
    const auto record = [&](const std::string& name) {
        return Listening("socat", [&, name](const std::string& port) {
            return std::vector<std::string>{"-r",
                                            folder.File(name + "-sent"),
                                            "-R",
                                            folder.File(name + "-received"),
                                            "TCP-LISTEN:" + port + ",bind=127.0.0.1,fork",
                                            "TCP:" + server.Address()};
        });
    };
    {
        Listening capture = record("tls");
        DBAgent agent;
        ASSERT_TRUE(LogInAt(agent, capture.Port(), certificates_.Info(), {}, L"localhost"))
            << Utf8(agent.errText_);
        QXCommand insert(L"INSERT INTO remarkable VALUES(?)");
        insert.AddParam(QXValue::Text(L"a value nobody may see"));
        ASSERT_EQ(Execute(agent, L"CREATE TABLE remarkable(seen TEXT)").code, 0);
        ASSERT_EQ(Execute(agent, insert).code, 0);
        const Answer answer = Query(agent, L"SELECT seen FROM remarkable");
        ASSERT_EQ(answer.rows.RowCount(), 1U);
    }
    const std::string sent = ReadFile(folder.File("tls-sent"));
    const std::string received = ReadFile(folder.File("tls-received"));
    ASSERT_GT(sent.size(), 800U);
    ASSERT_GT(received.size(), 800U);
    EXPECT_EQ(sent.front(), '\x16');
    EXPECT_NE(sent.find("localhost"), std::string::npos) << "the hello names the host";
    for (const std::string text :
         {"remarkable", "nobody may see", QxdbServer::kPassword, QxdbServer::kUser, "SELECT"}) {
        std::string wide;
        for (const char unit : text) {
            wide += {unit, '\0'};
        }
        for (const std::string& bytes : {sent, received}) {
            EXPECT_EQ(bytes.find(text), std::string::npos) << text;
            EXPECT_EQ(bytes.find(wide), std::string::npos) << text;
        }
    }
}

}  // namespace
