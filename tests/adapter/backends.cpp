#include "tests/adapter/contract.h"
#include "tests/adapter/servers.h"
#include "tests/adapter/sqlite/sqlite_backends.h"
#include "util/text.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

template <typename Server>
Backend On(const Server& server, CQXDB_DSType_ENUM type) {
    using CQXBASE::Utf8ToWide;
    Backend backend;
    backend.dataSource.init(L"", type, L"127.0.0.1", server.Port(), Utf8ToWide(Server::Database()),
                            Utf8ToWide(Server::User()), Utf8ToWide(Server::Password()), false, "",
                            1);
    return backend;
}

Backend PostgreSql() {
    Backend backend = On(Postgres(), CQXDB_DS_POSTGRESQL);
    backend.blobType = "BYTEA";
    backend.duplicateKey = SqlStateCode("23505");
    backend.syntaxError = SqlStateCode("42601");
    backend.missingTable = SqlStateCode("42P01");
    backend.rowError = "1 / (i - 15)";
    backend.minuteLong = "SELECT pg_sleep(60)";
    backend.minuteLongRuns = "SELECT COUNT(*) FROM pg_stat_activity WHERE wait_event = 'PgSleep'";
    return backend;
}

}  // namespace

const Backend& PostgreSqlBackend() {
    static const Backend backend = PostgreSql();
    return backend;
}

const Backend& MariaDbBackend() {
    static const Backend backend = [] {
        Backend made = On(MariaDb(), CQXDB_DS_MARIADB);
        made.blobType = "LONGBLOB";
        made.longTextType = "LONGTEXT";
        made.timestampType = "DATETIME(6)";
        made.timeType = "TIME(6)";
        made.rowError = "CASE WHEN i = 15 THEN (SELECT 1 UNION SELECT 2) ELSE i END";
        made.minuteLong = "SELECT SLEEP(60)";
        made.minuteLongRuns =
            "SELECT COUNT(*) FROM information_schema.processlist WHERE state = 'User sleep'";
        made.duplicateKey = 1062;
        made.syntaxError = 1064;
        made.missingTable = 1146;
        return made;
    }();
    return backend;
}

const Backend& OdbcBackend() {
    static const Backend backend = [] {
        Backend made = PostgreSql();
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

Outcome GoAndComeBack(Client& db, DatabaseServer& server) {
    EXPECT_EQ(db.Rows("SELECT 1"), "1\n");
    server.Stop();
    Outcome gone = db.Execute("SELECT 1");
    server.Start();
    EXPECT_EQ(db.Rows("SELECT 2"), "2\n");
    server.Stop();
    server.Start();
    EXPECT_EQ(db.Rows("SELECT 3"), "3\n") << "a connection that broke while it was idle";
    return gone;
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

std::vector<BackendParam> CancellableBackends() {
    return {{"Sqlite", SqliteDirect},          {"SqlitePoco", SqlitePoco},
            {"PostgreSql", PostgreSqlBackend}, {"MariaDb", MariaDbBackend},
            {"OdbcPostgreSql", OdbcBackend},   {"OdbcSqlite", SqliteOdbc}};
}

std::vector<BackendParam> Backends() {
    std::vector<BackendParam> all = ExactBackends();
    all.push_back({"OdbcSqlite", SqliteOdbc});
    return all;
}

}  // namespace qxdb_test
