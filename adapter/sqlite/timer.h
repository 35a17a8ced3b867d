// How long a statement may run.
#pragma once

#include <atomic>
#include <chrono>

#include <sqlite3.h>

namespace CQXDB::adapter::sqlite {

/// Interrupts statements that run for too long or are cancelled; they fail with SQLITE_INTERRUPT.
/// Must outlive them. Of a connection's thread, but for Cancel.
class SqliteTimer {
  public:
    /// 0 is no limit.
    SqliteTimer(sqlite3* db, std::chrono::milliseconds limit);
    SqliteTimer(const SqliteTimer&) = delete;
    SqliteTimer& operator=(const SqliteTimer&) = delete;

    /// A statement begins. Its time counts from its first hundred steps on: many have ended by
    /// then, and need no look at the clock. Throws DatabaseError when the call is cancelled.
    void Start();
    /// True once the statement has to end; for functions that take long by themselves.
    bool Over() noexcept;

    /// Ends what runs in the present call, and lets nothing else begin. From any thread.
    void Cancel() noexcept;
    /// The call is over: what comes next is not cancelled.
    void EndCall() noexcept { cancelled_ = false; }

  private:
    sqlite3* const db_;
    const std::chrono::milliseconds limit_;
    std::atomic<bool> cancelled_{false};
    bool counting_ = false;
    std::chrono::steady_clock::time_point end_;
};

}  // namespace CQXDB::adapter::sqlite
