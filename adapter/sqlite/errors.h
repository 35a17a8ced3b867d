// SQLite's own codes and texts as DatabaseError.
#pragma once

#include <string>

#include <sqlite3.h>

#include "adapter/database_error.h"

namespace CQXDB::adapter::sqlite {

/// Throws the connection's last error: its extended result code and its message.
[[noreturn]] void ThrowSqliteError(sqlite3* db);
/// Does so when `code` is an error; SQLITE_ROW and SQLITE_DONE are none.
void CheckSqlite(sqlite3* db, int code);
/// The error of opening `path`; tells the operating system's reason too. `db` may be null.
DatabaseError SqliteOpenError(sqlite3* db, int code, const std::string& path);

}  // namespace CQXDB::adapter::sqlite
