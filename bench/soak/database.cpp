#include "database.h"

#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <thread>

#include "tests/support/DatabaseUrl.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/PostgresServer.h"
#include "tests/support/RemoteAgent.h"

namespace qxdb_soak {
namespace {

using namespace CQXDB;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{20};
constexpr std::chrono::milliseconds kBetweenLooks{200};
constexpr int kTries = 20;

template <typename Server>
class ServerDatabase : public Database {
  public:
    template <typename... Arguments>
    ServerDatabase(std::string scheme, std::string countTransactions, Arguments... arguments)
        : server_(arguments...),
          scheme_(std::move(scheme)),
          countTransactions_(std::move(countTransactions)) {}

    std::string Url() const override { return DatabaseUrl(scheme_, server_); }

    void KillAndStart() override {
        server_.Kill();
        for (int left = kTries;; --left) {
            try {
                server_.Start();
                return;
            } catch (const std::runtime_error&) {  // its processes may not be gone yet
                if (left == 0) {
                    throw;
                }
                std::this_thread::sleep_for(kBetweenLooks);
            }
        }
    }

    long OpenTransactions() override {
        QXDataSource source;
        std::wstring error;
        QXDataSource::FromUrl(qxdb_test::Wide(Url()), source, error);
        DBAgent agent;
        agent.initDB(source);
        const Clock::time_point limit = Clock::now() + kPatience;
        for (;;) {
            const qxdb_test::Answer answer =
                qxdb_test::Query(agent, qxdb_test::Wide(countTransactions_).c_str());
            if (answer.code != 0) {
                throw std::runtime_error(qxdb_test::Utf8(answer.text));
            }
            const auto open = static_cast<long>(answer.rows.GetInt64(0, 0));
            if (open == 0 || Clock::now() > limit) {
                return open;
            }
            std::this_thread::sleep_for(kBetweenLooks);
        }
    }

  private:
    Server server_;
    const std::string scheme_;
    const std::string countTransactions_;
};

}  // namespace

std::unique_ptr<Database> StartDatabase(const std::string& kind) {
    if (kind == "postgresql") {
        return std::make_unique<ServerDatabase<qxdb_test::PostgresServer>>(
            kind, "SELECT count(*) FROM pg_stat_activity WHERE state LIKE 'idle in transaction%'");
    }
    if (kind == "mariadb") {
        // What was committed survives the process, if not the machine.
        return std::make_unique<ServerDatabase<qxdb_test::MariaDbServer>>(
            "mysql", "SELECT count(*) FROM information_schema.innodb_trx",
            std::vector<std::string>{"--innodb-flush-log-at-trx-commit=2"});
    }
    return std::make_unique<Database>();
}

}  // namespace qxdb_soak
