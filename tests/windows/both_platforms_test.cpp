// Programs of both platforms with each other, through real proxies. A Linux program that starts the
// Windows ones under Wine; QXDB_LINUX_BIN, QXDB_WINDOWS_BIN and QXDB_WINE tell where they are.
#include <cstdlib>
#include <stdexcept>

#include <gtest/gtest.h>

#include "tests/support/ProxyServers.h"
#include "tests/support/QxdbServer.h"

namespace qxdb_test {
namespace {

std::string Setting(const char* name) {
    const char* const value = std::getenv(name);
    if (value == nullptr) {
        throw std::runtime_error(std::string(name) + " is not set");
    }
    return value;
}

std::string LinuxProgram(const std::string& name) {
    return Setting("QXDB_LINUX_BIN") + "/" + name;
}

/// A script that runs a Windows program.
class WindowsProgram {
  public:
    explicit WindowsProgram(const std::string& name) {
        WriteFile(folder_.Path() / name, "#!/bin/sh\nexec '" + Setting("QXDB_WINE") + "' '" +
                                             Setting("QXDB_WINDOWS_BIN") + "/" + name +
                                             ".exe' \"$@\"\n");
        std::filesystem::permissions(folder_.Path() / name, std::filesystem::perms::owner_all);
        path_ = folder_.File(name);
    }
    const std::string& Path() const noexcept { return path_; }

  private:
    TempDir folder_;
    std::string path_;
};

std::string Url(const char* scheme, const ProxyServer& proxy, bool credentials) {
    const std::string who = credentials ? std::string(kProxyUser) + ":" + kProxyPassword + "@" : "";
    return std::string(scheme) + "://" + who + "127.0.0.1:" + std::to_string(proxy.Port());
}

/// What is written comes back the same; a wrong statement and a wrong password are told apart.
void ExpectWork(const std::string& client, const QxdbServer& server,
                const std::string& proxy = {}) {
    std::string output;
    const auto run = [&](std::vector<std::string> arguments, const std::string& password) {
        arguments.insert(arguments.begin(), {"--server", server.Address(), "--user",
                                             QxdbServer::kUser, "--format", "csv", "--no-header"});
        if (!proxy.empty()) {
            arguments.insert(arguments.begin(), {"--proxy", proxy});
        }
        ChildProcess process(client, arguments, {{}, {"QXDB_PASSWORD=" + password}, {}});
        process.CloseInput();
        const int status = process.Wait(std::chrono::seconds(60));
        output = process.Output() + process.Errors();
        return status;
    };
    // More text than a segment holds, and characters beyond the Basic Multilingual Plane.
    const std::string text = "Malmö 🐎 " + std::string(3000, 'x');
    EXPECT_EQ(run({"-c", "DROP TABLE IF EXISTS t; CREATE TABLE t(n INTEGER, t TEXT)", "-c",
                   "INSERT INTO t VALUES (7, '" + text + "'), (8, NULL)", "-c",
                   "SELECT n, t FROM t ORDER BY n"},
                  QxdbServer::kPassword),
              0)
        << output;
    EXPECT_EQ(output, "7," + text + "\r\n8,\r\n");
    EXPECT_EQ(run({"-c", "SELECT n FROM nowhere"}, QxdbServer::kPassword), 1) << output;
    EXPECT_NE(output.find("no such table: nowhere"), std::string::npos) << output;
    EXPECT_EQ(run({"-c", "SELECT 1"}, "wrong"), 3) << output;
}

TEST(BothPlatforms, WindowsClientAndLinuxServer) {
    const WindowsProgram client("qxdb");
    const QxdbServer server(LinuxProgram("qxdbserver"));
    ExpectWork(client.Path(), server);
}

TEST(BothPlatforms, WindowsClientThroughLinuxProxies) {
    const WindowsProgram client("qxdb");
    const QxdbServer server(LinuxProgram("qxdbserver"));
    const auto tinyproxy = StartTinyproxy(ProxyAccess::Open);
    ExpectWork(client.Path(), server, Url("http", *tinyproxy, false));
    const auto squid = StartSquid(ProxyAccess::Password);
    ExpectWork(client.Path(), server, Url("http", *squid, true));
    const auto dante = StartDante(ProxyAccess::Open);
    ExpectWork(client.Path(), server, Url("socks4", *dante, false));
    const auto microsocks = StartMicrosocks(ProxyAccess::Password);
    ExpectWork(client.Path(), server, Url("socks5", *microsocks, true));
}

TEST(BothPlatforms, AnyClientAndWindowsServer) {
    const WindowsProgram program("qxdbserver");
    QxdbServer server(program.Path());
    ExpectWork(LinuxProgram("qxdb"), server);
    ExpectWork(WindowsProgram("qxdb").Path(), server);
    server.Kill();
    server.Start();  // finds its accounts and its database again
    ExpectWork(LinuxProgram("qxdb"), server);
}

}  // namespace
}  // namespace qxdb_test
