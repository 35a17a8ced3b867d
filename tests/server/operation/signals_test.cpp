// What an operating system does to a running server.
#include <array>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include <Poco/Data/SQLite/Connector.h>
#include <Poco/Data/Session.h>
#include <gtest/gtest.h>

#include "messages/type_codes.h"
#include "tests/server/test_server.h"
#include "tests/support/QxdbServer.h"

namespace qxdb_test {
namespace {

using namespace Poco::Data::Keywords;

RawClient LoggedIn(const QxdbServer& server) {
    RawClient client(server.Port());
    client.Login(L"ada", L"correct horse battery");
    return client;
}

/// A table, and its database's write lock, so that a request that writes stays under way.
class HeldTable {
  public:
    explicit HeldTable(const QxdbServer& server) : session_(Open(server.Folder().File("main.db"))) {
        LoggedIn(server).Execute(L"CREATE TABLE t(n)");
        session_ << "BEGIN IMMEDIATE", now;
    }
    void Release() { session_ << "ROLLBACK", now; }

  private:
    static Poco::Data::Session Open(const std::string& path) {
        Poco::Data::SQLite::Connector::registerConnector();
        return {Poco::Data::SQLite::Connector::KEY, path};
    }

    Poco::Data::Session session_;
};

/// Waits until the server says that a request is under way.
bool RequestRuns(QxdbServer& server) {
    return Eventually([&] {
        kill(server.Pid(), SIGUSR1);
        return server.Process().WaitForText("requests: 1 running", std::chrono::seconds(1));
    });
}

TEST(Signals, StopFinishesTheRunningBatchAndTakesNothingNew) {
    QxdbServer server(QXDB_SERVER_PROGRAM);
    HeldTable table(server);
    RawClient client = LoggedIn(server);
    RawClient idle = LoggedIn(server);
    CQXDB::QXCommandList batch = client.List({L"INSERT INTO t VALUES (1)", L"SELECT n FROM t"});
    client.Send(CQXBASE::kBatchQuery, batch);
    ASSERT_TRUE(RequestRuns(server));

    server.Process().Terminate();
    ASSERT_TRUE(server.Process().WaitForText("stopping; requests still running: 1"));
    EXPECT_TRUE(idle.AtEnd());
    EXPECT_THROW(RawClient(server.Port()), std::runtime_error);
    table.Release();
    const Reply reply = client.Receive();
    EXPECT_EQ(reply.code, CQXBASE::kBatchQuery) << reply.Error();
    EXPECT_TRUE(client.AtEnd());
    EXPECT_EQ(server.Process().Wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(server.Folder().Path() / "port"));
    server.Start();
    EXPECT_EQ(LoggedIn(server).Number(L"SELECT count(*) FROM t"), 1);
}

TEST(Signals, StopWaitsNoLongerThanTheGraceTime) {
    const TempDir folder;
    WriteFile(folder.Path() / "c.toml", "limits.grace_timeout_s = 0.1\n");
    QxdbServer server(QXDB_SERVER_PROGRAM, {"--config", folder.File("c.toml")});
    const HeldTable table(server);
    RawClient client = LoggedIn(server);
    CQXDB::QXCommand insert = client.Command(L"INSERT INTO t VALUES (1)");
    client.Send(CQXBASE::kExecute, insert);
    ASSERT_TRUE(RequestRuns(server));
    server.Process().Terminate();
    EXPECT_EQ(server.Process().Wait(), 1);
    EXPECT_NE(server.Log().find("1 requests unfinished"), std::string::npos);
}

/// A server with a terminal or without one, whatever the test has.
class LooseServer {
  public:
    LooseServer(bool terminal, bool hangupIgnored) {
        const std::string data = folder_.File("data");
        const std::string port = folder_.File("port");
        const std::string log = folder_.File("log");
        const std::array<const char*, 8> arguments = {
            QXDB_SERVER_PROGRAM, "--data",      data.c_str(), "--listen",
            "127.0.0.1:0",       "--port-file", port.c_str(), nullptr};
        pid_ = terminal ? forkpty(&terminal_, nullptr, nullptr, nullptr) : fork();
        if (pid_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(open(log.c_str(), O_WRONLY | O_CREAT, S_IRUSR | S_IWUSR), STDERR_FILENO);
            setsid();
            std::signal(SIGHUP, hangupIgnored ? SIG_IGN : SIG_DFL);
            execv(arguments[0], const_cast<char* const*>(arguments.data()));
            _exit(127);
        }
    }
    ~LooseServer() {
        if (pid_ != -1) {
            kill(pid_, SIGKILL);
            Wait();
        }
        CloseTerminal();
    }
    LooseServer(const LooseServer&) = delete;
    LooseServer& operator=(const LooseServer&) = delete;

    bool Serves() const { return std::filesystem::exists(folder_.File("port")); }
    void Signal(int number) const { kill(pid_, number); }
    /// From a process that is neither its parent nor its session's leader.
    void HangupByStranger() const {
        RunToSuccess({"sh", "-c", "kill -HUP " + std::to_string(pid_)});
    }
    /// Waits until certificates were looked for so often, the start included.
    bool HasLookedForCertificates(int times) const {
        return Eventually([&] {
            const std::string log = ReadFile(folder_.File("log"));
            int found = 0;
            for (std::size_t at = 0; (at = log.find("TLS: off", at)) != std::string::npos; ++at) {
                ++found;
            }
            return found == times;
        });
    }
    void CloseTerminal() {
        if (terminal_ != -1) {
            close(std::exchange(terminal_, -1));
        }
    }
    /// Exit status, or -1 for a death by signal.
    int Wait() {
        int status = 0;
        waitpid(std::exchange(pid_, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    RawClient Connect() const {
        return RawClient(static_cast<std::uint16_t>(std::stoi(ReadFile(folder_.File("port")))));
    }

  private:
    TempDir folder_;
    int terminal_ = -1;
    pid_t pid_ = -1;
};

TEST(Signals, AClosingTerminalEndsItsServerInGoodOrder) {
    LooseServer server(true, false);
    ASSERT_TRUE(Eventually([&] { return server.Serves(); }));
    server.CloseTerminal();
    EXPECT_EQ(server.Wait(), 0);
    EXPECT_FALSE(server.Serves());
}

TEST(Signals, WhatAsksForNothingEndsNothing) {
    for (const bool terminal : {false, true}) {
        LooseServer server(terminal, terminal);
        ASSERT_TRUE(Eventually([&] { return server.Serves(); }));
        for (const int each : {SIGUSR2, SIGPIPE, SIGXFSZ}) {
            server.Signal(each);
        }
        EXPECT_EQ(server.Connect().Handshake().Error(), 0);
        server.Signal(SIGTERM);
        EXPECT_EQ(server.Wait(), 0);
    }
}

TEST(Signals, AHangupAsksForNewCertificatesUnlessTheTerminalCloses) {
    for (const bool terminal : {false, true}) {
        for (const bool ignored : {false, true}) {
            LooseServer server(terminal, ignored);
            ASSERT_TRUE(Eventually([&] { return server.Serves(); }));
            server.Signal(SIGHUP);
            EXPECT_TRUE(server.HasLookedForCertificates(2)) << terminal << ignored;
            if (ignored) {
                server.CloseTerminal();
                EXPECT_TRUE(!terminal || server.HasLookedForCertificates(3));
                server.HangupByStranger();
                EXPECT_TRUE(server.HasLookedForCertificates(terminal ? 4 : 3)) << terminal;
            }
            EXPECT_EQ(server.Connect().Handshake().Error(), 0);
            server.Signal(SIGTERM);
            EXPECT_EQ(server.Wait(), 0);
        }
    }
}

TEST(Signals, ACrashLeavesNoMemoryBehindUnlessToldTo) {
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_CORE, &limit), 0);
    limit.rlim_cur = limit.rlim_max;
    ASSERT_EQ(setrlimit(RLIMIT_CORE, &limit), 0);
    const auto mayDump = [](const QxdbServer& server) {
        const std::string limits = ReadFile("/proc/" + std::to_string(server.Pid()) + "/limits");
        const std::string name = "Max core file size";
        const std::size_t value = limits.find_first_not_of(' ', limits.find(name) + name.size());
        return limits.at(value) != '0';
    };
    EXPECT_FALSE(mayDump(QxdbServer(QXDB_SERVER_PROGRAM)));
    // Sanitizers forbid them by themselves.
    EXPECT_EQ(
        mayDump(QxdbServer(QXDB_SERVER_PROGRAM, {"--allow-core-dumps"},
                           {"ASAN_OPTIONS=disable_coredump=0", "TSAN_OPTIONS=disable_coredump=0"})),
        limit.rlim_max != 0);
}

TEST(Signals, KillLosesNothingThatWasCommitted) {
    QxdbServer server(QXDB_SERVER_PROGRAM);
    LoggedIn(server).Execute(L"CREATE TABLE t(n INTEGER PRIMARY KEY)");
    std::atomic<std::int64_t> acknowledged{0};
    std::thread writer([&] {
        try {
            RawClient client = LoggedIn(server);
            while (client.Execute(L"INSERT INTO t DEFAULT VALUES").Error() == 0) {
                ++acknowledged;
            }
        } catch (const std::runtime_error&) {
            // The server is gone, as the test wants it.
        }
    });
    EXPECT_TRUE(Eventually([&] { return acknowledged > 100; }));
    server.Kill();
    writer.join();
    server.Start();
    RawClient client = LoggedIn(server);
    const std::int64_t kept = client.Number(L"SELECT count(*) FROM t");
    EXPECT_GE(kept, acknowledged);
    EXPECT_LE(kept, acknowledged + 1);
    EXPECT_EQ(client.Number(L"SELECT max(n) FROM t"), kept);
}

}  // namespace
}  // namespace qxdb_test
