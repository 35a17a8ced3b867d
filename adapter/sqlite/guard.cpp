#include "adapter/sqlite/guard.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace CQXDB::adapter::sqlite {
namespace {

constexpr int kStepsBetweenLooks = 10000;  ///< well below a millisecond

/// The PRAGMAs whose argument only asks, or whose effect belongs to the database and not to the
/// connection.
constexpr const char* kHarmlessPragmas[] = {
    "application_id",     "defer_foreign_keys", "foreign_key_check", "foreign_key_list",
    "incremental_vacuum", "index_info",         "index_list",        "index_xinfo",
    "integrity_check",    "optimize",           "quick_check",       "table_info",
    "table_list",         "table_xinfo",        "user_version",      "wal_checkpoint"};

bool IsHarmless(const char* pragma) noexcept {
    return std::any_of(std::begin(kHarmlessPragmas), std::end(kHarmlessPragmas),
                       [pragma](const char* each) { return sqlite3_stricmp(each, pragma) == 0; });
}

int Authorize(void*, int action, const char* first, const char* second, const char*,
              const char*) noexcept {
    bool allowed = true;
    if (action == SQLITE_ATTACH) {
        // VACUUM attaches a file without a name; VACUUM INTO one with a name.
        allowed = first != nullptr && *first == '\0';
    } else if (action == SQLITE_PRAGMA) {
        allowed = second == nullptr || IsHarmless(first);
    }
    return allowed ? SQLITE_OK : SQLITE_DENY;
}

}  // namespace

void ConfineSqlite(sqlite3* db) {
    sqlite3_set_authorizer(db, Authorize, nullptr);
}

SqliteTimer::SqliteTimer(sqlite3* db, std::chrono::milliseconds limit) : limit_(limit) {
    if (limit.count() > 0) {
        sqlite3_progress_handler(db, kStepsBetweenLooks, Expired, this);
    }
}

int SqliteTimer::Expired(void* timer) noexcept {
    auto* const self = static_cast<SqliteTimer*>(timer);
    const auto now = std::chrono::steady_clock::now();
    if (!std::exchange(self->counting_, true)) {
        self->end_ = now + self->limit_;
    }
    return now > self->end_ ? 1 : 0;
}

}  // namespace CQXDB::adapter::sqlite
