#include "adapter/sqlite/errors.h"

#include <system_error>

namespace CQXDB::adapter::sqlite {

void ThrowSqliteError(sqlite3* db) {
    throw DatabaseError(sqlite3_extended_errcode(db), sqlite3_errmsg(db));
}

void CheckSqlite(sqlite3* db, int code) {
    if (code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE) {
        ThrowSqliteError(db);
    }
}

DatabaseError SqliteOpenError(sqlite3* db, int code, const std::string& path) {
    if (db == nullptr) {
        return {code, sqlite3_errstr(code)};
    }
    std::string text = std::string(sqlite3_errmsg(db)) + ": " + path;
    if (sqlite3_extended_errcode(db) == SQLITE_CANTOPEN_ISDIR) {
        text += " (is a directory)";  // no call of the system failed
    } else if (const int reason = sqlite3_system_errno(db)) {
        text += " (" + std::system_category().message(reason) + ")";
    }
    return {sqlite3_extended_errcode(db), text};
}

}  // namespace CQXDB::adapter::sqlite
