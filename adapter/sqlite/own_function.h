// SQL functions of our own in the place of SQLite's.
#pragma once

#include <sqlite3.h>

#include "adapter/sqlite/errors.h"
#include "adapter/sqlite/session.h"

namespace CQXDB::adapter::sqlite {

struct OwnFunction {
    const char* name;
    int arguments;  ///< -1 is any number
    void (*call)(sqlite3_context*, int, sqlite3_value**);
};

/// Each finds the session, which outlives the connection's statements, as its user data. Throws
/// DatabaseError.
template <typename Functions>
void ReplaceFunctions(SqliteSession& session, const Functions& functions) {
    constexpr int kFlags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
    for (const OwnFunction& each : functions) {
        CheckSqlite(session.db,
                    sqlite3_create_function_v2(session.db, each.name, each.arguments, kFlags,
                                               &session, each.call, nullptr, nullptr, nullptr));
    }
}

}  // namespace CQXDB::adapter::sqlite
