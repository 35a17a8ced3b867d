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
    const auto url = [](const char* driver, const DatabaseServer& server, const std::string& who) {
        return std::string("odbc:DRIVER=/usr/lib/x86_64-linux-gnu/odbc/") + driver +
               ";SERVER=127.0.0.1;PORT=" + std::to_string(server.Port()) + who;
    };
    const auto account = [](const std::string& database, const std::string& user,
                            const std::string& password) {
        return ";DATABASE=" + database + ";UID=" + user + ";PWD={" + password + "}";
    };
    auto all = urls_;
    all.emplace_back("odbc_postgresql",
                     url("psqlodbcw.so", servers_->postgres,
                         account(PostgresServer::Database(), PostgresServer::User(),
                                 PostgresServer::Password())));
    all.emplace_back("odbc_mariadb", url("libmaodbc.so", servers_->maria,
                                         account(MariaDbServer::Database(), MariaDbServer::User(),
                                                 MariaDbServer::Password())));
    return all;
}

}  // namespace qxdb_test
