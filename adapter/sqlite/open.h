// From a data source to an open SQLite connection.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include <sqlite3.h>

#include <qxdb/QXDataSource.h>

#include "adapter/connection_pool.h"
#include "adapter/sqlite/guard.h"

namespace CQXDB::adapter::sqlite {

/// What a data source asks of a SQLite connection.
struct SqliteSettings {
    std::string path;  ///< UTF-8; may be a "file:" URI
    int openFlags = 0;
    int busyTimeoutMs = 5000;
    bool foreignKeys = true;
    std::string journalMode;  ///< "": as the file has it
    std::string synchronous;  ///< "": SQLite's default
    bool confined = false;    ///< see ConfineSqlite
    Confinement confinement;
    std::chrono::milliseconds statementTimeout{0};  ///< 0: none
    PoolLimits pool;

    /// Throws DatabaseError for a missing path or options that make no sense.
    static SqliteSettings Of(const QXDataSource& dataSource);
    /// True when every connection would see a database of its own.
    bool Private() const;
};

/// Makes an open handle ready for use, and checks that it is a database. Throws DatabaseError.
void ConfigureSqlite(sqlite3* db, const SqliteSettings& settings);

/// Through SQLite's own interface.
std::unique_ptr<Connection> OpenSqlite(const SqliteSettings& settings);
/// Through POCO Data.
std::unique_ptr<Connection> OpenPocoSqlite(const SqliteSettings& settings);

}  // namespace CQXDB::adapter::sqlite
