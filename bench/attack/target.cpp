#include "target.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <vector>

#include "messages/type_codes.h"
#include "server/sessions/account_store.h"
#include "server/sessions/password_hash.h"
#include "tests/support/DatabaseUrl.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/PostgresServer.h"
#include "tests/support/RemoteAgent.h"

namespace qxdb_attack {

using qxdb_test::QxdbServer;
using qxdb_test::RawClient;

struct Databases::Servers {
    qxdb_test::TempDir folder;
    qxdb_test::MariaDbServer maria;
    qxdb_test::PostgresServer postgres;
};

Databases::Databases() : servers_(std::make_unique<Servers>()) {}

Databases::~Databases() = default;

std::string Databases::Table() const {
    using qxdb_test::DatabaseUrl;
    constexpr const char* kNoLimit = "?statement_timeout=0\"\n";
    return "[databases]\nmain = \"sqlite:main.db\"\nmaria = \"" +
           DatabaseUrl("mysql", servers_->maria) + kNoLimit + "postgres = \"" +
           DatabaseUrl("postgresql", servers_->postgres) + kNoLimit +
           "odbc = \"odbc:Driver=/usr/lib/x86_64-linux-gnu/odbc/libsqlite3odbc.so;Database=" +
           servers_->folder.File("odbc.db") + "\"\n";
}

Target::Target(const std::string& program, const Databases& databases) {
    qxdb_test::WriteFile(folder_.File("c.toml"),
                         "allow_client_data_sources = true\n"
                         "client_data_source_kinds = [\"sqlite\"]\n"
                         "client_data_source_folder = \"" +
                             folder_.Path().generic_string() + "\"\n" + databases.Table() +
                             "[limits]\nmax_buffered_mib = " + std::to_string(kBufferedMiB) +
                             "\nsqlite_memory_mib = " + std::to_string(kSqliteMiB) +
                             "\nmax_connections = 400\nmax_sessions = 2000\n"
                             "statement_timeout_s = " +
                             std::to_string(kStatementLimit.count()) + "\n");
    server_ = std::make_unique<QxdbServer>(
        program,
        std::vector<std::string>{"--config", folder_.File("c.toml"), "--log-level", "error"},
        std::vector<std::string>(), [&program](const std::string& data) {
            qxdb_test::RunToSuccess(
                {program, "tls", "init", "--data", data, "--host", "localhost"});
        });
    CQXSERVER::sessions::AccountStore(server_->Folder().File("accounts.db"))
        .Add("eve", CQXSERVER::sessions::HashPassword("secret"),
             CQXSERVER::AllowedDatabases::All());
    User().Execute(L"CREATE TABLE IF NOT EXISTS t(n)");
}

RawClient Target::Eve() const {
    RawClient client = Connect();
    client.Login(L"eve", L"secret");
    return client;
}

RawClient Target::User() const {
    RawClient client = Connect();
    client.Login(qxdb_test::Wide(QxdbServer::kUser), qxdb_test::Wide(QxdbServer::kPassword));
    return client;
}

std::size_t Target::PeakMiB() const {
    std::ifstream status("/proc/" + std::to_string(server_->Pid()) + "/status");
    std::string word;
    std::size_t kib = 0;
    while (status >> word && word != "VmHWM:") {
    }
    status >> kib;
    return kib / 1024;
}

Victim::Victim(const Target& target) : thread_([this, &target] { Live(target); }) {}

void Victim::Stop() {
    stop_ = true;
    if (thread_.joinable()) {
        thread_.join();
    }
}

void Victim::Live(const Target& target) {
    const auto expect = [](bool good) {
        if (!good) {
            throw std::runtime_error("refused");
        }
    };
    std::unique_ptr<RawClient> client;
    while (!stop_) {
        Try([&] { client = std::make_unique<RawClient>(target.User()); });
        for (int i = 0; i < 3 && client != nullptr; ++i) {
            Try([&] { expect(client->Number(L"SELECT 1") == 1); });
            Try([&] {
                CQXDB::QXCommand insert = client->Command(L"INSERT INTO t VALUES (?)");
                const std::vector<char> bytes(100000, 'x');
                insert.AddParam(CQXDB::QXValue::Blob(bytes.data(), bytes.size()));
                expect(client->Call(CQXBASE::kExecute, insert).Error() == 0);
            });
        }
    }
}

void Victim::Try(const std::function<void()>& step) {
    const auto start = std::chrono::steady_clock::now();
    try {
        step();
        ++served_;
    } catch (const std::exception& error) {
        if (refused_++ == 0) {
            std::printf("    the user: %s\n", error.what());
        }
    }
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - start);
    longestMs_ = std::max<long long>(longestMs_, took.count());
}

void AtOnce(int threads, const std::function<void(int)>& step) {
    std::vector<std::thread> running;
    for (int i = 0; i < threads; ++i) {
        running.emplace_back([&step, i] {
            try {
                step(i);
            } catch (const std::exception&) {
                // Refused, which is what an attacker has to expect.
            }
        });
    }
    for (std::thread& each : running) {
        each.join();
    }
}

}  // namespace qxdb_attack
