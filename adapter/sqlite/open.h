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

/// An open database, closed when the last `owner` goes.
struct SqliteFile {
    std::shared_ptr<void> owner;
    sqlite3* db = nullptr;
};

/// These open a database, set what the settings say but for what confines it, and check that it is
/// a database. They throw DatabaseError.
using SqliteOpener = SqliteFile (*)(const SqliteSettings&);
/// Through SQLite's own interface.
SqliteFile OpenSqlite(const SqliteSettings& settings);
/// Through POCO Data.
SqliteFile OpenPocoSqlite(const SqliteSettings& settings);

/// Sets up a handle that one of them has opened.
void ConfigureSqlite(sqlite3* db, const SqliteSettings& settings);

}  // namespace CQXDB::adapter::sqlite
