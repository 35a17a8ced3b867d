#include "tests/adapter/contract.h"
#include "tests/adapter/servers.h"
#include "tests/adapter/sqlite/sqlite_backends.h"
#include "util/text.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

Backend PostgreSql(const std::string& name, std::uint16_t port) {
    Backend backend;
    backend.name = name;
    backend.dataSource.type = CQXDB_DS_POSTGRESQL;
    backend.dataSource.server = L"127.0.0.1";
    backend.dataSource.port = port;
    backend.dataSource.database = CQXBASE::Utf8ToWide(PostgresServer::Database());
    backend.dataSource.user = CQXBASE::Utf8ToWide(PostgresServer::User());
    backend.dataSource.password = CQXBASE::Utf8ToWide(PostgresServer::Password());
    backend.blobType = "BYTEA";
    backend.duplicateKey = SqlStateCode("23505");
    backend.syntaxError = SqlStateCode("42601");
    backend.missingTable = SqlStateCode("42P01");
    backend.rowError = "1 / (i - 15)";
    backend.minuteLong = "SELECT pg_sleep(60)";
    return backend;
}

}  // namespace

const Backend& PostgreSqlBackend() {
    static const Backend backend = PostgreSql("PostgreSql", Postgres().Port());
    return backend;
}

const Backend& MariaDbBackend() {
    static const Backend backend = [] {
        Backend made;
        made.name = "MariaDb";
        made.dataSource.type = CQXDB_DS_MARIADB;
        made.dataSource.server = L"127.0.0.1";
        made.dataSource.port = MariaDb().Port();
        made.dataSource.database = CQXBASE::Utf8ToWide(MariaDbServer::Database());
        made.dataSource.user = CQXBASE::Utf8ToWide(MariaDbServer::User());
        made.dataSource.password = CQXBASE::Utf8ToWide(MariaDbServer::Password());
        made.blobType = "LONGBLOB";
        made.longTextType = "LONGTEXT";
        made.timestampType = "DATETIME(6)";
        made.timeType = "TIME(6)";
        made.rowError = "CASE WHEN i = 15 THEN (SELECT 1 UNION SELECT 2) ELSE i END";
        made.minuteLong = "SELECT SLEEP(60)";
        made.duplicateKey = 1062;
        made.syntaxError = 1064;
        made.missingTable = 1146;
        return made;
    }();
    return backend;
}

const Backend& OdbcBackend() {
    static const Backend backend = [] {
        Backend made = PostgreSql("OdbcPostgreSql", Postgres().Port());
        made.dataSource.driver = CQXDB_DRIVER_ODBC;
        made.dataSource.driverName = L"/usr/lib/x86_64-linux-gnu/odbc/psqlodbcw.so";
        return made;
    }();
    return backend;
}

namespace {

const Backend& SqliteOdbc() {
    static const Backend backend = [] {
        Backend made = Sqlite("OdbcSqlite", true);
        made.dataSource.driver = CQXDB_DRIVER_ODBC;
        made.dataSource.driverName = L"/usr/lib/x86_64-linux-gnu/odbc/libsqlite3odbc.so";
        made.dataSource.options.clear();
        made.duplicateKey = 19;
        made.marksInComments = false;
        return made;
    }();
    return backend;
}

}  // namespace

PostgresServer& Postgres() {
    static PostgresServer server;
    return server;
}

MariaDbServer& MariaDb() {
    static MariaDbServer server;
    return server;
}

std::vector<BackendParam> StoppingBackends() {
    return {{"Sqlite", SqliteDirect},
            {"SqlitePoco", SqlitePoco},
            {"PostgreSql", PostgreSqlBackend},
            {"MariaDb", MariaDbBackend}};
}

std::vector<BackendParam> ExactBackends() {
    std::vector<BackendParam> all = StoppingBackends();
    all.push_back({"OdbcPostgreSql", OdbcBackend});
    return all;
}

std::vector<BackendParam> Backends() {
    std::vector<BackendParam> all = ExactBackends();
    all.push_back({"OdbcSqlite", SqliteOdbc});
    return all;
}

}  // namespace qxdb_test
