#include "tests/end_to_end/databases.h"

#include "tests/support/DatabaseUrl.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/PostgresServer.h"

namespace qxdb_test {

struct Databases::Servers {
    PostgresServer postgres;
    MariaDbServer maria;
};

Databases::Databases()
    : servers_(std::make_unique<Servers>()),
      urls_{{"sqlite", "sqlite:" + folder_.File("both.db")},
            {"postgresql", DatabaseUrl("postgresql", servers_->postgres)},
            {"mariadb", DatabaseUrl("mysql", servers_->maria)}} {}

Databases::~Databases() = default;

std::vector<std::pair<std::string, std::string>> Databases::AllUrls() const {
    auto all = urls_;
    all.emplace_back(
        "odbc", "odbc:DRIVER=/usr/lib/x86_64-linux-gnu/odbc/psqlodbcw.so;SERVER=127.0.0.1;PORT=" +
                    std::to_string(servers_->postgres.Port()) +
                    ";DATABASE=" + PostgresServer::Database() + ";UID=" + PostgresServer::User() +
                    ";PWD={" + PostgresServer::Password() + "}");
    return all;
}

}  // namespace qxdb_test
