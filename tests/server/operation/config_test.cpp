#include <filesystem>

#include <gtest/gtest.h>

#include "server/operation/command_line.h"
#include "server/operation/config_file.h"
#include "server/server_error.h"
#include "tests/support/TempDir.h"

namespace CQXSERVER {
namespace {

namespace fs = std::filesystem;
using qxdb_test::TempDir;
using qxdb_test::WriteFile;

using Databases = std::vector<std::pair<std::string, std::string>>;
using Numbers = std::vector<std::uint64_t>;

Numbers All(const Limits& limits) {
    Numbers all = {limits.maxFrameBytes,  limits.maxResultBytes, limits.maxBufferedBytes,
                   limits.maxConnections, limits.maxSessions,    limits.minBytesPerSecond};
    for (const auto& each :
         {limits.loginTimeout, limits.idleTimeout, limits.requestTimeout, limits.sessionIdle,
          limits.sessionLifetime, limits.statementTimeout, limits.graceTimeout}) {
        all.push_back(static_cast<std::uint64_t>(each.count()));
    }
    return all;
}

class ConfigTest : public testing::Test {
  protected:
    ServerOptions Read(const std::string& text) {
        WriteFile(folder_.Path() / "c.toml", text);
        ServerOptions options;
        operation::ReadConfigFile(folder_.File("c.toml"), options);
        return options;
    }
    std::string ErrorOf(const std::string& text) {
        try {
            Read(text);
            return {};
        } catch (const OperatorError& e) {
            return e.what();
        }
    }
    operation::CommandLine Parse(std::vector<const char*> arguments) {
        int status = -1;
        arguments.insert(arguments.begin(), "qxdbserver");
        return operation::ParseCommandLine(static_cast<int>(arguments.size()), arguments.data(),
                                           status)
            .value();
    }

    /// An absolute path as a file without a drive's name gives it.
    std::string Rooted(const char* path) const {
        return (folder_.Path().root_path() / path).make_preferred().string();
    }

    TempDir folder_;
};

TEST_F(ConfigTest, EveryKeyHasItsPlaceAndUnit) {
    const ServerOptions options = Read(R"(
        listen = "[::1]:7000"
        port_file = "/run/port"
        log_level = "debug"
        allow_client_data_sources = true
        tls_certificate = "tls/server.pem"
        tls_key = "/key.pem"
        tls_client_ca = "clients.pem"
        require_tls = true
        tls_min_version = "1.3"
        tls_ciphers = "ECDHE+AESGCM"
        tls_cipher_suites = "TLS_AES_128_GCM_SHA256"
        workers = 3
        login_workers = 2
        [limits]
        max_frame_mib = 1
        max_result_mib = 2
        max_buffered_mib = 3
        max_connections = 4
        max_sessions = 5
        min_bytes_per_second = 6
        login_timeout_s = 7
        idle_timeout_s = 8
        request_timeout_s = 0.25
        session_idle_s = 9
        session_lifetime_s = 10
        statement_timeout_s = 10.5
        grace_timeout_s = 11)");
    EXPECT_EQ(options.listen, "[::1]:7000");
    EXPECT_EQ(options.portFile, Rooted("run/port"));
    EXPECT_EQ(options.logLevel, "debug");
    EXPECT_TRUE(options.clientDataSources.allowed);
    EXPECT_EQ(fs::u8path(options.tls.certificate), folder_.Path() / "tls" / "server.pem");
    EXPECT_EQ(options.tls.key, Rooted("key.pem"));
    EXPECT_EQ(options.tls.clientCa, folder_.File("clients.pem"));
    EXPECT_TRUE(options.tls.required);
    EXPECT_EQ(options.tls.minVersion, CQXDB::QXTLS_1_3);
    EXPECT_EQ(options.tls.ciphers, "ECDHE+AESGCM");
    EXPECT_EQ(options.tls.cipherSuites, "TLS_AES_128_GCM_SHA256");
    EXPECT_EQ(options.workers, 3U);
    EXPECT_EQ(options.loginWorkers, 2U);
    const Numbers expected = {kMiB, 2 * kMiB, 3 * kMiB, 4,     5,     6,    7000,
                              8000, 250,      9000,     10000, 10500, 11000};
    EXPECT_EQ(All(options.limits), expected);
}

TEST_F(ConfigTest, DatabasesKeepTheirOrderAndPathsCountFromTheFile) {
    const ServerOptions options = Read(
        "data = 'd'\n[databases]\nzoo = 'sqlite:z.db'\nant = 'mysql://h/x'\n"
        "bee = 'sqlite:/abs.db'\ncat = 'sqlite::memory:'\ndog = 'sqlite:file:d.db?mode=ro'\n"
        "eel = 'sqlite:///a%20b'\n");
    EXPECT_EQ(options.dataDir, folder_.File("d"));
    const Databases expected = {
        {"zoo", "sqlite:" + folder_.File("z.db")}, {"ant", "mysql://h/x"},
        {"bee", "sqlite:" + Rooted("abs.db")},     {"cat", "sqlite::memory:"},
        {"dog", "sqlite:file:d.db?mode=ro"},       {"eel", "sqlite:///a%20b"}};
    EXPECT_EQ(options.databases, expected);
}

TEST_F(ConfigTest, MistakesAreNamedWithTheirLine) {
    EXPECT_NE(ErrorOf("\ndata = \n").find("line 2"), std::string::npos);
    EXPECT_NE(ErrorOf("\n\nlisten = '::'\nfrob = 1\n").find("line 4: unknown key 'frob'"),
              std::string::npos);
    EXPECT_NE(ErrorOf("[limits]\nmax_frames = 1\n").find("unknown key 'max_frames'"),
              std::string::npos);
    for (const std::string bad :
         {"workers = 0", "workers = -1", "workers = 1.5", "data = 1", "log_level = 'loud'",
          "allow_client_data_sources = 'yes'", "tls_min_version = '1.1'", "tls_min_version = 1.2",
          "require_tls = 'no'", "databases = 3", "limits = 'x'", "limits.idle_timeout_s = 0",
          "limits.idle_timeout_s = -3", "limits.idle_timeout_s = '1'",
          "limits.idle_timeout_s = nan", "limits.statement_timeout_s = 86401",
          "limits.max_frame_mib = 99999999999999", "databases.a = 1"}) {
        EXPECT_NE(ErrorOf(bad), "") << bad;
    }
}

TEST_F(ConfigTest, TheCommandLineWins) {
    WriteFile(folder_.Path() / "c.toml",
              "listen = 'h:1'\ntls_certificate = 'a.pem'\ntls_key = 'k.pem'\nlog_level = "
              "'debug'\n[databases]\na = 'sqlite:/a'\nb = 'sqlite:/b'\n");
    const std::string config = folder_.File("c.toml");
    const operation::CommandLine line =
        Parse({"--config", config.c_str(), "--listen", "h:2", "--database", "a=sqlite:/c",
               "--database", "d=odbc:DSN=x;UID=y", "--tls-certificate", "b.pem", "--require-tls"});
    EXPECT_EQ(line.options.tls.certificate, "b.pem");
    EXPECT_EQ(line.options.tls.key, folder_.File("k.pem"));
    EXPECT_TRUE(line.options.tls.required);
    EXPECT_EQ(line.action, operation::Action::Serve);
    EXPECT_EQ(line.options.listen, "h:2");
    EXPECT_EQ(line.options.logLevel, "debug");
    const Databases expected = {
        {"a", "sqlite:/c"}, {"b", "sqlite:" + Rooted("b")}, {"d", "odbc:DSN=x;UID=y"}};
    EXPECT_EQ(line.options.databases, expected);
}

TEST_F(ConfigTest, AnAccountGetsDatabasesThatAreThere) {
    const auto databases = [this](const char* list) {
        return Parse({"user", "add", "bob", "--databases", list, "--database", "a=sqlite:/a",
                      "--database", "b=sqlite:/b"})
            .databases;
    };
    EXPECT_EQ(databases(" b , a,,b,").Names(), (std::vector<std::string>{"b", "a"}));
    EXPECT_TRUE(databases(" * ").AreAll());
    EXPECT_THROW(databases("a,c"), OperatorError);
    EXPECT_EQ(Parse({"user", "add", "bob", "--databases", "c"}).warnings.size(), 1U);
    EXPECT_TRUE(Parse({"user", "add", "bob", "--databases", "main"}).warnings.empty());
}

TEST_F(ConfigTest, TheExampleHoldsTheDefaults) {
    ServerOptions options;
    operation::ReadConfigFile(QXDB_EXAMPLE_CONFIG, options);
    EXPECT_EQ(options.listen, ServerOptions().listen);
    EXPECT_EQ(All(options.limits), All(Limits()));
    EXPECT_FALSE(options.tls.required);
    EXPECT_EQ(options.tls.minVersion, TlsOptions().minVersion);
    EXPECT_EQ(options.tls.certificate + options.tls.ciphers + options.tls.cipherSuites, "");
}

}  // namespace
}  // namespace CQXSERVER
