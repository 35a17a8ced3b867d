#include "clients.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <optional>
#include <thread>
#include <vector>

#include <qxdb/DBAgent.h>

#include "ledger.h"
#include "tests/server/raw_client.h"
#include "tests/support/RemoteAgent.h"

namespace qxdb_soak {
namespace {

using namespace CQXDB;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr std::int64_t kNumbersOfOneLife = 10000000;
constexpr milliseconds kBeforeNextTry{200};
constexpr milliseconds kBetweenRounds{100};

bool Stopped(const ClientTask& task) {
    return std::filesystem::exists(task.folder + "/stop");
}

std::wstring LoginText() {
    return qxdb_test::Wide(std::string(qxdb_test::QxdbServer::kUser) + "|~|" +
                           qxdb_test::QxdbServer::kPassword);
}

class Worker {
  public:
    explicit Worker(const ClientTask& task)
        : task_(task),
          ledger_(task.folder, task.client),
          first_(task.life * kNumbersOfOneLife),
          next_(first_) {}

    /// One login, or one call, of a kind that depends on the turn.
    void Step(int turn) {
        const Clock::time_point start = Clock::now();
        if (!loggedIn_) {
            Login();
        } else if (turn % 8 == 0) {
            Insert(3);
        } else if (turn % 8 == 4) {
            Look();
        } else if (turn % 8 == 6) {
            InsertInTransaction(3);
        } else {
            Insert(1);
        }
        const auto took = std::chrono::duration_cast<milliseconds>(Clock::now() - start).count();
        if (took > longestMs_) {
            longestMs_ = took;
            ledger_.Took(took);
        }
        if (!loggedIn_) {
            std::this_thread::sleep_for(kBeforeNextTry);
        }
    }

  private:
    /// As it is now: a proxy that was started again listens elsewhere.
    QXProxyInfo Proxy() const {
        QXProxyInfo proxy;
        if (task_.client % 4 > 1) {
            return proxy;
        }
        const bool http = task_.client % 4 == 0;
        proxy.kind = http ? QXPROXY_HTTP : QXPROXY_SOCKS5;
        proxy.host = L"127.0.0.1";
        proxy.port = static_cast<std::uint16_t>(
            std::stoi(qxdb_test::ReadFile(task_.folder + (http ? "/http" : "/socks5"))));
        return proxy;
    }

    void Login() {
        std::wstring info;
        std::wstring token;
        loggedIn_ = agent_.Login(L"127.0.0.1", task_.port, Proxy(), LoginText(), info, token);
        agent_.SetIsLocal(false);
        loggedIn_ ? ledger_.LoggedIn() : ledger_.Failed(agent_.errCode_);
    }

    QXCommand Insertion() {
        QXCommand insert(L"INSERT INTO soak VALUES (?, ?)");
        insert.AddParam(QXValue::Int64(task_.client));
        insert.AddParam(QXValue::Int64(next_++));
        return insert;
    }

    /// `count` rows in one transaction. A failed one is not tried again: the server may have done
    /// it.
    void Insert(int count) {
        const std::int64_t first = next_;
        ledger_.Tried(first, count);
        long code = 0;
        std::wstring text;
        if (count == 1) {
            QXCommand insert = Insertion();
            agent_.Execute(code, text, insert);
        } else {
            QXCommandList list;
            for (int i = 0; i < count; ++i) {
                list.Add(Insertion());
            }
            agent_.Execute(code, text, list);
        }
        if (Succeeded(code)) {
            ledger_.Acknowledged(first, count);
            acknowledged_ += count;
        }
    }

    /// The same by calls of their own.
    void InsertInTransaction(int count) {
        const std::int64_t first = next_;
        ledger_.Tried(first, count);
        long code = 0;
        std::wstring text;
        agent_.Begin(code, text);
        for (int i = 0; code == 0 && i < count; ++i) {
            QXCommand insert = Insertion();
            agent_.Execute(code, text, insert);
        }
        next_ = first + count;
        if (code == 0) {
            agent_.Commit(code, text);
        } else if (agent_.InTransaction()) {
            long ignored = 0;
            agent_.Rollback(ignored, text);
        }
        if (Succeeded(code)) {
            ledger_.Acknowledged(first, count);
            acknowledged_ += count;
        }
    }

    void Look() {
        QXCommand query(L"SELECT COUNT(*) FROM soak WHERE client = ? AND n >= ?");
        query.AddParam(QXValue::Int64(task_.client));
        query.AddParam(QXValue::Int64(first_));
        const qxdb_test::Answer answer = qxdb_test::Query(agent_, query);
        if (Succeeded(answer.code) && answer.rows.GetInt64(0, 0) < acknowledged_) {
            ledger_.Missed();
        }
    }

    bool Succeeded(long code) {
        if (code != 0) {
            ledger_.Failed(code);
            loggedIn_ = false;
        }
        return code == 0;
    }

    const ClientTask task_;
    Ledger ledger_;
    DBAgent agent_;
    bool loggedIn_ = false;
    const std::int64_t first_;  ///< of this life
    std::int64_t next_;
    std::int64_t acknowledged_ = 0;
    std::int64_t longestMs_ = 0;
};

using Idler = std::optional<qxdb_test::RawClient>;

/// Brings a session back that the server has closed; false when that fails.
bool Keep(Idler& idler, std::uint16_t port) {
    try {
        // Nothing is asked for, so what can be read is the end.
        if (idler && idler->Readable()) {
            idler.reset();
        }
        if (!idler) {
            idler.emplace(port);
            idler->Login(qxdb_test::Wide(qxdb_test::QxdbServer::kUser),
                         qxdb_test::Wide(qxdb_test::QxdbServer::kPassword));
        }
        return true;
    } catch (const std::runtime_error&) {
        idler.reset();
        return false;
    }
}

void Greet(Idler& idler) {
    try {
        if (idler) {
            idler->Handshake();
        }
    } catch (const std::runtime_error&) {
        idler.reset();
    }
}

}  // namespace

void WorkUntilStopped(const ClientTask& task) {
    Worker worker(task);
    for (int turn = 0; !Stopped(task); ++turn) {
        worker.Step(turn);
    }
}

void IdleUntilStopped(const ClientTask& task, int sessions) {
    Ledger ledger(task.folder, task.client);
    std::vector<Idler> idlers(static_cast<std::size_t>(sessions));
    for (std::size_t turn = 0; !Stopped(task); ++turn) {
        int kept = 0;
        for (Idler& each : idlers) {
            kept += Keep(each, task.port) ? 1 : 0;
        }
        Greet(idlers[turn % idlers.size()]);
        ledger.Holds(kept);
        std::this_thread::sleep_for(kBetweenRounds);
    }
}

}  // namespace qxdb_soak
