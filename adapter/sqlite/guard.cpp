#include "adapter/sqlite/guard.h"

#include <algorithm>
#include <string_view>

#include <climits>

#include "adapter/sqlite/errors.h"
#include "adapter/sqlite/slow_functions.h"
#include "util/ascii.h"

namespace CQXDB::adapter::sqlite {
namespace {

// Sorted, for binary search; SQLite reports functions by their lower-case names.

/// The PRAGMAs whose argument only asks, or whose effect belongs to the database and not to the
/// connection.
constexpr std::string_view kPragmasWithArgument[] = {
    "application_id",     "defer_foreign_keys", "foreign_key_check", "foreign_key_list",
    "incremental_vacuum", "index_info",         "index_list",        "index_xinfo",
    "optimize",           "table_info",         "table_list",        "table_xinfo",
    "user_version",       "wal_checkpoint"};

/// Those that are refused even without one: a single step of theirs reads the whole database,
/// however long that takes.
constexpr std::string_view kPragmasRefused[] = {"integrity_check", "quick_check"};

constexpr std::string_view kFunctions[] = {
    "->",
    "->>",
    "abs",
    "acos",
    "acosh",
    "asin",
    "asinh",
    "atan",
    "atan2",
    "atanh",
    "avg",
    "bm25",
    "ceil",
    "ceiling",
    "changes",
    "char",
    "coalesce",
    "concat",
    "concat_ws",
    "cos",
    "cosh",
    "count",
    "cume_dist",
    "current_date",
    "current_time",
    "current_timestamp",
    "date",
    "datetime",
    "degrees",
    "dense_rank",
    "exp",
    "first_value",
    "floor",
    "format",
    "glob",
    "group_concat",
    "hex",
    "highlight",
    "ifnull",
    "iif",
    "instr",
    "json",
    "json_array",
    "json_array_length",
    "json_error_position",
    "json_extract",
    "json_group_array",
    "json_group_object",
    "json_insert",
    "json_object",
    "json_quote",
    "json_remove",
    "json_replace",
    "json_set",
    "json_type",
    "json_valid",
    "julianday",
    "lag",
    "last_insert_rowid",
    "last_value",
    "lead",
    "length",
    "like",
    "likelihood",
    "likely",
    "ln",
    "log",
    "log10",
    "log2",
    "lower",
    "ltrim",
    "match",
    "matchinfo",
    "max",
    "min",
    "mod",
    "nth_value",
    "ntile",
    "nullif",
    "octet_length",
    "offsets",
    "optimize",
    "percent_rank",
    "pi",
    "pow",
    "power",
    "printf",
    "quote",
    "radians",
    "random",
    "randomblob",
    "rank",
    "replace",
    "round",
    "row_number",
    "rtrim",
    "sign",
    "sin",
    "sinh",
    "snippet",
    "soundex",
    "sqlite_compileoption_get",
    "sqlite_compileoption_used",
    "sqlite_source_id",
    "sqlite_version",
    "sqrt",
    "strftime",
    "string_agg",
    "substr",
    "substring",
    "subtype",
    "sum",
    "tan",
    "tanh",
    "time",
    "timediff",
    "total",
    "total_changes",
    "trim",
    "trunc",
    "typeof",
    "unhex",
    "unicode",
    "unixepoch",
    "unlikely",
    "upper",
    "zeroblob",
};

/// What ALTER TABLE calls. SQLite itself lets nobody else do so.
constexpr std::string_view kInternalFunctions[] = {"sqlite_drop_column", "sqlite_rename_column",
                                                   "sqlite_rename_quotefix", "sqlite_rename_table",
                                                   "sqlite_rename_test"};

/// Others than these are no longer there: sqlite_stmt shows other people's statements, dbstat and
/// sqlite_dbpage read pages whoever they belong to.
const char* const kModules[] = {"json_each", "json_tree", "rtree", "rtree_i32", nullptr};
/// With full-text search, of which one insert takes about a second for each MB, whatever the timer
/// says.
const char* const kModulesWithFullText[] = {"json_each", "json_tree", "rtree",   "rtree_i32",
                                            "fts3",      "fts4",      "fts4aux", "fts5",
                                            "fts5vocab", nullptr};

template <std::size_t N>
bool Holds(const std::string_view (&sorted)[N], std::string_view name) noexcept {
    return std::binary_search(std::begin(sorted), std::end(sorted), name);
}

bool MayCall(std::string_view function) {
    return Holds(kFunctions, function) || Holds(kInternalFunctions, function);
}

bool MayAsk(const char* pragma, const char* argument) {
    const std::string name = CQXBASE::LowerAscii(pragma);
    return argument != nullptr ? Holds(kPragmasWithArgument, name) : !Holds(kPragmasRefused, name);
}

int Authorize(void* session, int action, const char* first, const char* second, const char*,
              const char*) noexcept {
    try {
        bool allowed = true;
        if (action == SQLITE_ATTACH) {
            // VACUUM attaches a file without a name while it runs; VACUUM INTO one with a name.
            allowed = first != nullptr && *first == '\0' &&
                      !static_cast<SqliteSession*>(session)->preparing;
        } else if (action == SQLITE_PRAGMA) {
            allowed = MayAsk(first, second);
        } else if (action == SQLITE_FUNCTION) {
            allowed = MayCall(CQXBASE::LowerAscii(second));
        }
        // Preparing is not timed by SQLite itself.
        auto& timer = static_cast<SqliteSession*>(session)->timer;
        return allowed && !timer.Over() ? SQLITE_OK : SQLITE_DENY;
    } catch (...) {
        return SQLITE_DENY;  // no memory
    }
}

struct Limit {
    int what;
    int most;
};
constexpr Limit kLimits[] = {
    {SQLITE_LIMIT_SQL_LENGTH, 4 << 20},  // of one statement; a script is split before
    {SQLITE_LIMIT_VDBE_OP, 5000000},
    {SQLITE_LIMIT_EXPR_DEPTH, 500},
    {SQLITE_LIMIT_COMPOUND_SELECT, 500},
    {SQLITE_LIMIT_ATTACHED, 1},  // VACUUM's
    // LIKE takes as long as text and pattern multiplied, whatever the timer says.
    {SQLITE_LIMIT_LIKE_PATTERN_LENGTH, 100},
    {SQLITE_LIMIT_TRIGGER_DEPTH, 100},
    {SQLITE_LIMIT_WORKER_THREADS, 0},
};

constexpr int kSwitches[][2] = {
    {SQLITE_DBCONFIG_DEFENSIVE, 1},  // the schema's tables and those behind virtual ones
    {SQLITE_DBCONFIG_WRITABLE_SCHEMA, 0},
    {SQLITE_DBCONFIG_ENABLE_FTS3_TOKENIZER, 0},
    {SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0},
};

}  // namespace

void ConfineSqlite(SqliteSession& session, const Confinement& wanted) {
    sqlite3* const db = session.db;
    for (const auto& [what, value] : kSwitches) {
        CheckSqlite(db, sqlite3_db_config(db, what, value, nullptr));
    }
    for (const Limit& each : kLimits) {
        sqlite3_limit(db, each.what, each.most);
    }
    sqlite3_limit(db, SQLITE_LIMIT_LENGTH,
                  static_cast<int>(std::min<std::int64_t>(wanted.maxValueBytes, INT_MAX)));
    CheckSqlite(
        db, sqlite3_drop_modules(
                db, const_cast<const char**>(wanted.fullText ? kModulesWithFullText : kModules)));
    ReplaceSlowFunctions(session);
    CheckSqlite(db, sqlite3_set_authorizer(db, Authorize, &session));
}

}  // namespace CQXDB::adapter::sqlite
