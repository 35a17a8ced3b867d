// What the parts of one SQLite connection share.
#pragma once

#include <chrono>

#include <sqlite3.h>

#include "adapter/sqlite/format.h"
#include "adapter/sqlite/heap.h"
#include "adapter/sqlite/timer.h"

namespace CQXDB::adapter::sqlite {

struct SqliteSession {
    SqliteSession(sqlite3* newDb, std::chrono::milliseconds statementTimeout, bool isConfined)
        : db(newDb), timer(newDb, statementTimeout), confined(isConfined) {}

    /// Where the memory of its statements is counted; null for nowhere.
    SqliteHeap* Heap() noexcept { return confined ? &heap : nullptr; }

    sqlite3* const db;  ///< borrowed
    SqliteTimer timer;
    SqliteHeap heap;
    const bool confined;     ///< see ConfineSqlite
    bool readOnly = false;   ///< no statement may change anything
    bool preparing = false;  ///< a text of the connection's user, not one of SQLite's own
    bool inserted = false;   ///< a row with an id, since it was last looked at
    SqliteFormat format;
};

}  // namespace CQXDB::adapter::sqlite
