#include "storm.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <thread>
#include <vector>

#include <qxdb/DBAgent.h>

#include "crowd.h"
#include "database.h"
#include "ledger.h"
#include "server/sessions/account_store.h"
#include "server/sessions/password_hash.h"
#include "tests/support/ProxyServers.h"
#include "tests/support/QxdbServer.h"
#include "tests/support/RemoteAgent.h"

namespace qxdb_soak {
namespace {

using namespace CQXDB;
using qxdb_test::ProxyServer;
using qxdb_test::QxdbServer;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// A server whose one account's password is cheap to check: every kill of the server makes all
/// clients log in again.
class SoakServer : public QxdbServer {
  public:
    using QxdbServer::QxdbServer;

    /// A machine that is busy with the clients may take longer than usual.
    void StartAgain() {
        constexpr int kTries = 4;
        for (int left = kTries; left > 0; --left) {
            try {
                Start();
                return;
            } catch (const std::runtime_error& error) {
                std::printf("%s\n", error.what());
                if (left == 1) {
                    throw;
                }
            }
        }
    }

    void MakeLoginsCheap() {
        CQXSERVER::sessions::AccountStore(Folder().File("accounts.db"))
            .SetPassword(kUser, CQXSERVER::sessions::HashPassword(kPassword, {2, 1, 1}));
    }
};

/// A proxy that comes back on another port, which it leaves in a file for the clients.
class RestartedProxy {
  public:
    using Starter = std::unique_ptr<ProxyServer> (*)(qxdb_test::ProxyAccess);

    RestartedProxy(Starter start, std::string portFile)
        : start_(start), portFile_(std::move(portFile)) {
        Restart();
    }
    void Restart() {
        proxy_.reset();
        proxy_ = start_(qxdb_test::ProxyAccess::Open);
        // Renamed into place, so that nobody reads half a number.
        qxdb_test::WriteFile(portFile_ + ".new", std::to_string(proxy_->Port()));
        std::filesystem::rename(portFile_ + ".new", portFile_);
    }

  private:
    Starter start_;
    std::string portFile_;
    std::unique_ptr<ProxyServer> proxy_;
};

std::ptrdiff_t DescriptorsOf(int process) {
    const std::filesystem::directory_iterator entries("/proc/" + std::to_string(process) + "/fd");
    return std::distance(begin(entries), end(entries));
}

struct Event {
    milliseconds at;
    std::function<void()> act;
};

void RunAll(std::vector<Event> events, milliseconds length, const std::function<void()>& between) {
    std::sort(events.begin(), events.end(),
              [](const Event& a, const Event& b) { return a.at < b.at; });
    const Clock::time_point start = Clock::now();
    for (const Event& each : events) {
        std::this_thread::sleep_until(start + each.at);
        each.act();
        between();
    }
    std::this_thread::sleep_until(start + length);
}

void Require(const qxdb_test::Answer& answer) {
    if (answer.code != 0) {
        throw std::runtime_error(qxdb_test::Utf8(answer.text));
    }
}

void CreateTable(const QxdbServer& server) {
    DBAgent agent;
    qxdb_test::LogIn(agent, server);
    Require(qxdb_test::Execute(
        agent,
        L"CREATE TABLE soak (client INTEGER, n INTEGER); CREATE INDEX soak_row ON soak "
        L"(client, n)"));
}

/// How often each row is in the table.
std::map<Account::Row, std::int64_t> RowsThere(const QxdbServer& server) {
    DBAgent agent;
    qxdb_test::LogIn(agent, server);
    const qxdb_test::Answer answer =
        qxdb_test::Query(agent, L"SELECT client, n, COUNT(*) FROM soak GROUP BY client, n");
    Require(answer);
    std::map<Account::Row, std::int64_t> there;
    for (const auto row : answer.rows) {
        there[{static_cast<int>(row.GetInt64(0)), row.GetInt64(1)}] = row.GetInt64(2);
    }
    return there;
}

struct Verdict {
    long acknowledged = 0;   ///< rows
    long missing = 0;        ///< of these
    long doubled = 0;        ///< rows of any kind that are there more than once
    long unknownDone = 0;    ///< transactions without an answer that are there, ...
    long unknownUndone = 0;  ///< ... that are not, ...
    long halves = 0;         ///< ... and that are there in part
    long foreign = 0;        ///< rows that nobody tried to insert
};

Verdict Compare(const Account& account, std::map<Account::Row, std::int64_t> there) {
    Verdict verdict;
    for (const auto& [first, transaction] : account.transactions) {
        int found = 0;
        for (int i = 0; i < transaction.count; ++i) {
            const auto row = there.find({first.first, first.second + i});
            if (row != there.end()) {
                ++found;
                verdict.doubled += row->second > 1 ? 1 : 0;
                there.erase(row);
            }
        }
        if (transaction.acknowledged) {
            verdict.acknowledged += transaction.count;
            verdict.missing += transaction.count - found;
        } else if (found == 0) {
            ++verdict.unknownUndone;
        } else {
            ++(found == transaction.count ? verdict.unknownDone : verdict.halves);
        }
    }
    verdict.foreign = static_cast<long>(there.size());
    return verdict;
}

void Print(const Plan& plan, const Account& account, const Verdict& verdict, long killedClients) {
    std::printf("%d s, seed %u: %d busy clients, %d idle sessions\n", plan.seconds, plan.seed,
                plan.busy, plan.idle);
    std::printf("%s; killed: server %d times, clients %ld, database and each proxy %d times\n",
                plan.database.c_str(), plan.kills, killedClients, plan.kills);
    std::printf("logins of busy clients %ld, longest call %lld ms, failed calls by code:",
                account.logins, static_cast<long long>(account.longestCallMs));
    for (const auto& [code, count] : account.failures) {
        std::printf(" %lld: %ld", static_cast<long long>(code), count);
    }
    std::printf("\nrows acknowledged %ld: missing %ld, there twice %ld\n", verdict.acknowledged,
                verdict.missing, verdict.doubled);
    std::printf("transactions without an answer: done %ld, not done %ld, half done %ld\n",
                verdict.unknownDone, verdict.unknownUndone, verdict.halves);
    std::printf("rows that nobody sent %ld, looks that missed an acknowledged row %ld\n",
                verdict.foreign, account.missed);
}

}  // namespace

bool RunStorm(const Plan& plan) {
    const qxdb_test::TempDir folder;
    const std::string path = folder.Path().string();
    const std::unique_ptr<Database> database = StartDatabase(plan.database);
    std::vector<std::string> databases;
    if (!database->Url().empty()) {
        databases = {"--database", "main=" + database->Url()};
    }
    SoakServer server(plan.server, databases);
    server.MakeLoginsCheap();
    CreateTable(server);
    RestartedProxy http(qxdb_test::StartTinyproxy, path + "/http");
    RestartedProxy socks(qxdb_test::StartMicrosocks, path + "/socks5");
    Crowd crowd(plan, path, server.Port());
    bool idleThere = crowd.AllIdleThere();

    std::mt19937 random(plan.seed);
    const milliseconds round(1000LL * plan.seconds / std::max(plan.kills, 1));
    std::uniform_int_distribution<long long> within(0, round.count() - 1);
    std::vector<Event> events;
    for (int i = 0; i < plan.kills; ++i) {
        const auto sometime = [&] { return i * round + milliseconds(within(random)); };
        events.push_back({sometime(), [&] {
                              server.Kill();
                              server.StartAgain();
                          }});
        events.push_back({sometime(), [&] { crowd.KillAThird(random); }});
        events.push_back({sometime(), [&] { database->KillAndStart(); }});
        events.push_back({sometime(), [&] { http.Restart(); }});
        events.push_back({sometime(), [&] { socks.Restart(); }});
    }
    std::string stuck;
    RunAll(std::move(events), std::chrono::seconds(plan.seconds), [&] { stuck += crowd.Stuck(); });
    stuck += crowd.Stuck();
    idleThere = crowd.AllIdleThere() && idleThere;
    stuck += crowd.Stop();
    const long open = database->OpenTransactions();
    const std::ptrdiff_t descriptors = DescriptorsOf(server.Pid());
    server.Kill();
    server.StartAgain();

    Account account;
    for (int client = 0; client < crowd.Count(); ++client) {
        account.Add(path, client);
    }
    const Verdict verdict = Compare(account, RowsThere(server));
    Print(plan, account, verdict, crowd.Killed());
    if (!stuck.empty()) {
        std::printf("stuck or ended clients:%s\n", stuck.c_str());
    }
    std::printf("transactions left open in the database %ld, descriptors of the server %td\n", open,
                descriptors);
    std::printf("idle sessions: %s\n", idleThere ? "all there" : "NOT all there");
    return stuck.empty() && open == 0 && idleThere && verdict.acknowledged > 0 &&
           verdict.missing == 0 && verdict.doubled == 0 && verdict.halves == 0 &&
           verdict.foreign == 0 && account.missed == 0;
}

}  // namespace qxdb_soak
