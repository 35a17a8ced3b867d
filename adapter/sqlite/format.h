// printf and format, within bounds.
#pragma once

#include <map>
#include <memory>

#include <sqlite3.h>

namespace CQXDB::adapter::sqlite {

struct SqliteSession;

/// Calls SQLite's own printf, which can't be called by any other way once it is replaced, on a
/// connection beside the one that it is replaced on.
class SqliteFormat {
  public:
    /// Tells `context` the result, or an error.
    void Call(sqlite3_context* context, int count, sqlite3_value** arguments);

  private:
    struct Close {
        void operator()(sqlite3* db) const noexcept { sqlite3_close_v2(db); }
        void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
    };

    /// Null, and the code told, when it can't be had.
    sqlite3_stmt* StatementFor(sqlite3* caller, int count, int& code);

    std::unique_ptr<sqlite3, Close> db_;                              ///< null until needed
    std::map<int, std::unique_ptr<sqlite3_stmt, Close>> statements_;  ///< by number of arguments
};

/// Puts others in the place of printf and format, with the same results. They refuse to repeat a
/// character (%.*c) without end, and formats so long that filling them in takes seconds, during
/// which SQLite doesn't look at its timer. Throws DatabaseError.
void ReplaceFormat(SqliteSession& session);

}  // namespace CQXDB::adapter::sqlite
