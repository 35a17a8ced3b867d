#include "adapter/sqlite/guard.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <climits>

#include "adapter/sqlite/errors.h"
#include "adapter/sqlite/format.h"
#include "adapter/sqlite/like.h"
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
    "integrity_check",    "optimize",           "quick_check",       "table_info",
    "table_list",         "table_xinfo",        "user_version",      "wal_checkpoint"};

/// Those that may ask, without one. database_list and temp_store_directory, which are not here,
/// tell paths of the machine.
constexpr std::string_view kPragmasWithout[] = {"auto_vacuum",
                                                "automatic_index",
                                                "busy_timeout",
                                                "cache_size",
                                                "cache_spill",
                                                "cell_size_check",
                                                "checkpoint_fullfsync",
                                                "collation_list",
                                                "compile_options",
                                                "data_version",
                                                "encoding",
                                                "foreign_keys",
                                                "freelist_count",
                                                "fullfsync",
                                                "function_list",
                                                "ignore_check_constraints",
                                                "journal_mode",
                                                "journal_size_limit",
                                                "legacy_alter_table",
                                                "locking_mode",
                                                "max_page_count",
                                                "mmap_size",
                                                "module_list",
                                                "page_count",
                                                "page_size",
                                                "pragma_list",
                                                "query_only",
                                                "read_uncommitted",
                                                "recursive_triggers",
                                                "reverse_unordered_selects",
                                                "schema_version",
                                                "secure_delete",
                                                "shrink_memory",
                                                "synchronous",
                                                "temp_store",
                                                "threads",
                                                "trusted_schema",
                                                "wal_autocheckpoint",
                                                "writable_schema"};

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
/// With full-text search, whose highlight, snippet and NEAR take the square of a document's
/// matches, whatever the timer says.
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
    return Holds(kPragmasWithArgument, name) ||
           (argument == nullptr && Holds(kPragmasWithout, name));
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
    {SQLITE_LIMIT_VDBE_OP, 5000000},     {SQLITE_LIMIT_EXPR_DEPTH, 500},
    {SQLITE_LIMIT_COMPOUND_SELECT, 500}, {SQLITE_LIMIT_ATTACHED, 1},  // VACUUM's
    {SQLITE_LIMIT_TRIGGER_DEPTH, 100},   {SQLITE_LIMIT_WORKER_THREADS, 0},
};

constexpr int kSwitches[][2] = {
    {SQLITE_DBCONFIG_DEFENSIVE, 1},  // the schema's tables and those behind virtual ones
    {SQLITE_DBCONFIG_WRITABLE_SCHEMA, 0},
    {SQLITE_DBCONFIG_ENABLE_FTS3_TOKENIZER, 0},
    {SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0},
};

struct Function {
    std::string name;
    int arguments;  ///< -1 is any number
};

/// What this SQLite has beside the list; looked for once in a process.
const std::vector<Function>& OtherFunctions(sqlite3* db) {
    static std::mutex mutex;
    static std::vector<Function> others;
    const std::lock_guard<std::mutex> lock(mutex);
    if (others.empty()) {
        std::vector<Function> found;
        sqlite3_stmt* all = nullptr;
        CheckSqlite(db, sqlite3_prepare_v2(db, "SELECT name, narg FROM pragma_function_list", -1,
                                           &all, nullptr));
        const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> owner(all,
                                                                               sqlite3_finalize);
        while (sqlite3_step(all) == SQLITE_ROW) {
            const auto* const name = reinterpret_cast<const char*>(sqlite3_column_text(all, 0));
            if (name != nullptr && !MayCall(CQXBASE::LowerAscii(name))) {
                found.push_back({name, sqlite3_column_int(all, 1)});
            }
        }
        CheckSqlite(db, sqlite3_reset(all));
        others.swap(found);
    }
    return others;
}

void Refuse(sqlite3_context* context, int, sqlite3_value**) noexcept {
    sqlite3_result_error(context, "this connection may not use that function", -1);
    sqlite3_result_error_code(context, SQLITE_AUTH);
}

/// The authorizer is asked about statements only: constraints, generated columns and indexes that
/// a file brings along have been read without it. Deterministic, or the file would not open.
void RefuseOtherFunctions(sqlite3* db) {
    for (const Function& each : OtherFunctions(db)) {
        CheckSqlite(db,
                    sqlite3_create_function_v2(db, each.name.c_str(), each.arguments,
                                               SQLITE_ANY | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS,
                                               nullptr, Refuse, nullptr, nullptr, nullptr));
    }
}

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
    RefuseOtherFunctions(db);
    ReplaceSlowFunctions(session);
    ReplaceLike(session);
    ReplaceFormat(session);
    CheckSqlite(db, sqlite3_set_authorizer(db, Authorize, &session));
}

}  // namespace CQXDB::adapter::sqlite
