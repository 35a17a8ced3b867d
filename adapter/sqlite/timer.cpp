#include "adapter/sqlite/timer.h"

#include <utility>

#include "adapter/database_error.h"

namespace CQXDB::adapter::sqlite {
namespace {

/// Some microseconds as a rule; a step that handles a large value takes much longer.
constexpr int kStepsBetweenLooks = 100;

}  // namespace

SqliteTimer::SqliteTimer(sqlite3* db, std::chrono::milliseconds limit) : db_(db), limit_(limit) {
    if (limit.count() > 0) {
        const auto over = [](void* timer) noexcept {
            return static_cast<SqliteTimer*>(timer)->Over() ? 1 : 0;
        };
        sqlite3_progress_handler(db, kStepsBetweenLooks, over, this);
    }
}

void SqliteTimer::Start() {
    if (cancelled_) {
        throw DatabaseError(SQLITE_INTERRUPT, sqlite3_errstr(SQLITE_INTERRUPT));
    }
    counting_ = false;
}

bool SqliteTimer::Over() noexcept {
    if (cancelled_ || limit_.count() == 0) {
        return cancelled_;
    }
    const auto now = std::chrono::steady_clock::now();
    if (!std::exchange(counting_, true)) {
        end_ = now + limit_;
    }
    return now > end_;
}

void SqliteTimer::Cancel() noexcept {
    cancelled_ = true;
    sqlite3_interrupt(db_);
}

}  // namespace CQXDB::adapter::sqlite
