#include "sessions.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "messages/type_codes.h"
#include "server/sessions/account_store.h"
#include "server/sessions/password_hash.h"
#include "tests/server/raw_client.h"
#include "tests/server/test_server.h"
#include "tests/support/QxdbServer.h"
#include "tests/support/RemoteAgent.h"

namespace qxdb_soak {
namespace {

using qxdb_test::QxdbServer;
using qxdb_test::RawClient;

constexpr int kThreads = 4;
// What is still no leak, once the tables are full: the heap's own unrest, and the last connections
// of a pool of 8 with three files each.
constexpr long kMayGrowKiB = 8192;
constexpr long kPooledFiles = 24;

struct Holdings {
    long descriptors = 0;
    long threads = 0;
    long residentKiB = 0;
};

Holdings HeldBy(int pid) {
    const std::string folder = "/proc/" + std::to_string(pid);
    Holdings held;
    const std::filesystem::directory_iterator entries(folder + "/fd");
    held.descriptors = std::distance(begin(entries), end(entries));
    std::ifstream status(folder + "/status");
    for (std::string word; status >> word;) {
        if (word == "Threads:") {
            status >> held.threads;
        } else if (word == "VmRSS:") {
            status >> held.residentKiB;
        }
    }
    return held;
}

void OneSession(std::uint16_t port, long number) {
    const std::wstring user = qxdb_test::Wide(QxdbServer::kUser);
    const std::wstring password = qxdb_test::Wide(QxdbServer::kPassword);
    RawClient client(port);
    if (number % 10 == 0) {
        client.CallString(CQXBASE::kLogin, user + L"|~|wrong");
    }
    client.Login(user, password);
    if (client.Number(L"SELECT " + std::to_wstring(number)) != number) {
        throw std::runtime_error("a wrong answer");
    }
    switch (number % 4) {
        case 0:
            client.CallString(CQXBASE::kVirtualLogout, user + L"|~|" + password);
            break;
        case 1:
            client.Close(true);
            break;
        case 2:
            client.SendBytes(qxdb_test::HeaderClaiming(1000) + "half");
            break;
        default:
            break;
    }
}

void OpenSessions(std::uint16_t port, long count) {
    std::atomic<long> next{0};
    std::atomic<bool> failed{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            try {
                for (long number = next++; number < count && !failed; number = next++) {
                    OneSession(port, number);
                }
            } catch (const std::exception& error) {
                std::fprintf(stderr, "a session failed: %s\n", error.what());
                failed = true;
            }
        });
    }
    for (std::thread& each : threads) {
        each.join();
    }
    if (failed) {
        throw std::runtime_error("sessions failed");
    }
}

void Print(const char* when, const Holdings& held) {
    std::printf("%s: %ld descriptors, %ld threads, %ld KiB resident\n", when, held.descriptors,
                held.threads, held.residentKiB);
}

}  // namespace

bool CountLeftovers(const Plan& plan) {
    const qxdb_test::TempDir folder;
    // A table that is soon full; large enough that no session under way is given up for a new one.
    qxdb_test::WriteFile(folder.File("c.toml"), "limits.max_sessions = 1000\n");
    QxdbServer server(plan.server, {"--config", folder.File("c.toml"), "--log-level", "none"});
    CQXSERVER::sessions::AccountStore(server.Folder().File("accounts.db"))
        .SetPassword(QxdbServer::kUser,
                     CQXSERVER::sessions::HashPassword(QxdbServer::kPassword, {2, 1, 1}));
    const auto start = std::chrono::steady_clock::now();
    const Holdings atFirst = HeldBy(server.Pid());
    OpenSessions(server.Port(), plan.sessions / 5);
    // The server may still be closing the last connections.
    const auto settled = [&](long descriptors) {
        qxdb_test::Eventually([&] { return HeldBy(server.Pid()).descriptors <= descriptors; });
        return HeldBy(server.Pid());
    };
    const Holdings before = settled(atFirst.descriptors + kPooledFiles);
    OpenSessions(server.Port(), plan.sessions - plan.sessions / 5);
    const Holdings after = settled(before.descriptors + kPooledFiles);
    Print("after the start", atFirst);
    Print("after a fifth", before);
    Print("at the end", after);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    std::printf("%ld sessions in %.0f s\n", plan.sessions, took.count());
    return after.descriptors <= before.descriptors + kPooledFiles &&
           after.threads == before.threads && after.residentKiB - before.residentKiB <= kMayGrowKiB;
}

}  // namespace qxdb_soak
