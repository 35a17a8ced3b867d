// The certificates of a server: what an operator makes, names, and gets wrong.
#include <csignal>
#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include "server/operation/tls_files.h"
#include "server/server_error.h"
#include "tests/server/test_server.h"
#include "tests/support/QxdbServer.h"
#include "tls/authority/authority.h"

namespace qxdb_test {
namespace {

namespace fs = std::filesystem;
using namespace CQXBASE::tls::authority;
using CQXSERVER::OperatorError;
using CQXSERVER::ServerOptions;
using CQXSERVER::operation::LoadTls;
using Words = std::vector<std::string>;

constexpr std::chrono::hours kDay{24};

int StatusOf(const std::string& program, const Words& arguments, std::string& output) {
    ChildProcess process(program, arguments);
    const int status = process.Wait();
    output = process.Output() + process.Errors();
    return status;
}

class TlsInit : public testing::Test {
  protected:
    /// Exit status of "tls init"; what it wrote is in output_.
    int Init(Words arguments) {
        arguments.insert(arguments.begin(), {"tls", "init", "--data", data_.string()});
        return StatusOf(QXDB_SERVER_PROGRAM, arguments, output_);
    }
    std::string File(const char* name) const { return (data_ / "tls" / name).string(); }
    /// Whether another program takes the certificate as that of a server.
    bool Verifies(const std::string& check, const std::string& host) const {
        std::string ignored;
        return StatusOf("openssl",
                        {"verify", "-x509_strict", "-purpose", "sslserver", "-CAfile",
                         File("ca.pem"), check, host, File("server.pem")},
                        ignored) == 0;
    }
    Words Contents() const {
        Words all;
        for (const char* each : {"ca.pem", "ca-key.pem", "server.pem", "server-key.pem"}) {
            all.push_back(fs::exists(File(each)) ? ReadFile(File(each)) : "");
        }
        return all;
    }

    TempDir folder_;
    const fs::path data_ = folder_.Path() / "data";
    std::string output_;
};

TEST_F(TlsInit, MakesWhatOtherProgramsVerifyAndNobodyElseReads) {
    ASSERT_EQ(Init({"--host", "db.example.org", "--host", "*.in.example.org", "--host", "127.0.0.1",
                    "--host", "::1"}),
              0)
        << output_;
    for (const char* host : {"db.example.org", "a.in.example.org"}) {
        EXPECT_TRUE(Verifies("-verify_hostname", host)) << host;
    }
    EXPECT_FALSE(Verifies("-verify_hostname", "a.example.org"));
    EXPECT_TRUE(Verifies("-verify_ip", "127.0.0.1"));
    EXPECT_TRUE(Verifies("-verify_ip", "::1"));
    EXPECT_FALSE(Verifies("-verify_ip", "127.0.0.2"));

    const std::string print = RunToSuccess(
        {"openssl", "x509", "-in", File("ca.pem"), "-noout", "-fingerprint", "-sha256"});
    const std::string digest = print.substr(print.find('=') + 1, 95);
    EXPECT_NE(output_.find(digest), std::string::npos) << output_ << print;
    for (const std::string& text :
         {File("ca.pem"), std::string("db.example.org, *.in.example.org"),
          std::string("--server db.example.org:7777 --user NAME --tls")}) {
        EXPECT_NE(output_.find(text), std::string::npos) << output_;
    }
    const std::string tooLong = std::to_string(825 * 86400);
    std::string ignored;
    EXPECT_EQ(
        StatusOf("openssl", {"x509", "-in", File("server.pem"), "-checkend", tooLong, "-noout"},
                 ignored),
        1);

    EXPECT_EQ(fs::status(data_ / "tls").permissions(), fs::perms(0700));
    for (const fs::directory_entry& each : fs::directory_iterator(data_ / "tls")) {
        EXPECT_EQ(each.status().permissions(), fs::perms(0600)) << each.path();
    }
}

TEST_F(TlsInit, ReplacesNothingUnlessRenewingAndThenKeepsTheAuthority) {
    EXPECT_EQ(Init({"--host", "one.example", "--renew"}), 1);
    EXPECT_FALSE(fs::exists(data_));
    ASSERT_EQ(Init({"--host", "one.example"}), 0) << output_;
    const Words before = Contents();
    EXPECT_EQ(Init({"--host", "two.example"}), 1);
    EXPECT_NE(output_.find("--renew"), std::string::npos) << output_;
    EXPECT_EQ(Contents(), before);

    ASSERT_EQ(Init({"--host", "two.example", "--renew"}), 0) << output_;
    const Words after = Contents();
    EXPECT_EQ(after[0] + after[1], before[0] + before[1]);
    EXPECT_NE(after[3], before[3]);
    EXPECT_TRUE(Verifies("-verify_hostname", "two.example"));
    EXPECT_FALSE(Verifies("-verify_hostname", "one.example"));
    ServerOptions options;
    options.dataDir = data_.string();
    EXPECT_NE(LoadTls(options), nullptr);

    WriteFile(File("ca-key.pem"), after[3]);
    EXPECT_EQ(Init({"--host", "two.example", "--renew"}), 1);
    EXPECT_NE(output_.find("is not the key of"), std::string::npos) << output_;
    fs::remove(File("ca.pem"));
    fs::remove(File("ca-key.pem"));
    EXPECT_EQ(Init({"--host", "two.example"}), 1);
    EXPECT_NE(output_.find("move it away"), std::string::npos) << output_;
    EXPECT_EQ(Contents(), (Words{"", "", after[2], after[3]}));
}

TEST_F(TlsInit, RefusesWhatIsNoHost) {
    for (const char* host :
         {"", "a b", " 1.2.3.4", "https://a.example", "a.example:7777", "[::1]", "*", "*.org",
          "a.*.org", "1.2.3.256", "a..b", "-a", "a,DNS:b", "a\n"}) {
        EXPECT_EQ(Init({"--host", host}), 1) << host;
        EXPECT_NE(output_.find("neither a host name nor an IP address"), std::string::npos)
            << output_;
    }
    EXPECT_EQ(Init({}), 2);
    EXPECT_FALSE(fs::exists(data_));
}

/// Files of an authority's and a server's, for options that name them.
class TlsFiles : public testing::Test {
  protected:
    TlsFiles() {
        WriteFile(folder_.Path() / "ca.pem", authority_.Own().CertificatePem());
        WriteServer({365 * kDay});
        options_.dataDir = folder_.File("data");
        options_.tls.certificate = folder_.File("server.pem");
        options_.tls.key = folder_.File("key.pem");
    }
    void WriteServer(const Validity& validity) {
        const Issued issued = authority_.Issue({Purpose::Server, "s", {"localhost"}}, validity);
        WriteFile(folder_.Path() / "server.pem", issued.CertificatePem());
        WriteFile(folder_.Path() / "key.pem", issued.KeyPem());
        WriteFile(folder_.Path() / "both.pem", issued.CertificatePem() + issued.KeyPem());
    }

    TempDir folder_;
    const Authority authority_ = Authority::Make("CA", {3650 * kDay});
    ServerOptions options_;
};

TEST_F(TlsFiles, ThatCantBeUsedAreNamedWithTheReason) {
    using CQXSERVER::TlsOptions;
    WriteFile(folder_.Path() / "other.pem", authority_.Own().KeyPem());
    const std::string missing = folder_.File("missing.pem");
    const std::string notThere = missing + "' can't be used: No such file";
    const auto bare = [](TlsOptions& tls) { tls.certificate = tls.key = ""; };
    const std::vector<std::pair<std::function<void(TlsOptions&)>, std::string>> cases = {
        {[&](auto& tls) { tls.certificate = missing; }, notThere},
        {[&](auto& tls) { tls.key = missing; }, "the key file '" + missing},
        {[&](auto& tls) { tls.clientCa = missing; }, notThere},
        {[&](auto& tls) { tls.key = folder_.File("other.pem"); }, "is not that of the certificate"},
        {[&](auto& tls) { tls.key = ""; }, "key file '" + folder_.File("server.pem")},
        {[&](auto& tls) { tls.certificate = ""; }, "but no certificate"},
        {[&](auto& tls) { tls.ciphers = "ROT13"; }, "ROT13"},
        {[&](auto& tls) { tls.cipherSuites = "ROT13"; }, "ROT13"},
        {[&](auto& tls) { bare(tls), tls.required = true; }, "'qxdbserver tls init'"},
        {[&](auto& tls) { bare(tls), tls.clientCa = folder_.File("ca.pem"); },
         "'qxdbserver tls init'"},
    };
    for (const auto& [spoil, text] : cases) {
        ServerOptions options = options_;
        spoil(options.tls);
        try {
            LoadTls(options);
            ADD_FAILURE() << "not refused: " << text;
        } catch (const OperatorError& e) {
            EXPECT_NE(std::string(e.what()).find(text), std::string::npos) << e.what();
        }
    }
}

TEST_F(TlsFiles, AreNoneOneOrTwo) {
    EXPECT_NE(LoadTls(options_), nullptr);
    options_.tls.certificate = folder_.File("both.pem");
    options_.tls.key = "";
    options_.tls.clientCa = folder_.File("ca.pem");
    EXPECT_NE(LoadTls(options_), nullptr);
    options_.tls = {};
    EXPECT_EQ(LoadTls(options_), nullptr);
}

TEST_F(TlsFiles, ThatNeedTheOperatorAreInTheLog) {
    WriteServer({-kDay, -2 * kDay});
    fs::permissions(folder_.Path() / "both.pem", fs::perms(0640));
    ChildProcess server(QXDB_SERVER_PROGRAM,
                        {"--data", folder_.File("data"), "--listen", "0.0.0.0:0", "--require-tls",
                         "--tls-certificate", folder_.File("both.pem")});
    ASSERT_TRUE(server.WaitForText("there are no accounts"));
    server.Terminate();
    server.Wait();
    const std::string log = server.Errors();
    EXPECT_NE(log.find("TLS: required; certificate for localhost, valid until"), std::string::npos)
        << log;
    EXPECT_NE(log.find("has expired on"), std::string::npos) << log;
    EXPECT_NE(log.find(folder_.File("both.pem") + "' holds the server's key"), std::string::npos)
        << log;
    EXPECT_EQ(log.find("other machines can reach"), std::string::npos) << log;
}

TEST(TlsReload, DropsNobodyAndKeepsWhatItHasWhenTheNewIsBroken) {
    QxdbServer server(QXDB_SERVER_PROGRAM);
    const fs::path data = server.Folder().Path();
    const auto init = [&](Words arguments) {
        const Words words = {QXDB_SERVER_PROGRAM, "tls", "init", "--data", data.string()};
        arguments.insert(arguments.begin(), words.begin(), words.end());
        RunToSuccess(arguments);
        kill(server.Pid(), SIGHUP);
    };
    const auto connect = [&](const std::string& host) {
        const std::string ca = (data / "tls" / "ca.pem").string();
        return std::make_unique<ChildProcess>(
            "openssl", Words{"s_client", "-connect", server.Address(), "-CAfile", ca,
                             "-verify_return_error", "-verify_hostname", host});
    };
    const auto serves = [&](const std::string& host) {
        const auto client = connect(host);
        client->CloseInput();
        return client->Wait() == 0;
    };
    init({"--host", "one.example"});
    ASSERT_TRUE(Eventually([&] { return serves("one.example"); }));
    const auto open = connect("one.example");
    ASSERT_TRUE(open->WaitForText("Verify return code: 0 (ok)"));
    init({"--host", "two.example", "--renew"});
    EXPECT_TRUE(Eventually([&] { return serves("two.example"); }));
    WriteFile(data / "tls" / "server-key.pem", "");
    kill(server.Pid(), SIGHUP);
    EXPECT_TRUE(server.Process().WaitForText("TLS stays as it was: TLS: the key"));
    EXPECT_TRUE(serves("two.example"));
    EXPECT_TRUE(open->Running());
    EXPECT_NE(server.Log().find("TLS: on; certificate for two.example, valid until"),
              std::string::npos);
}

}  // namespace
}  // namespace qxdb_test
