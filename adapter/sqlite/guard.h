// Limits on what statements may do with a SQLite connection.
#pragma once

#include <chrono>

#include <sqlite3.h>

namespace CQXDB::adapter::sqlite {

/// Keeps the statements of a connection to its own database, for a connection that people share who
/// are not trusted with the machine: no other file is attached or written, and no PRAGMA changes
/// what the connection's next user relies on. What is refused fails with SQLITE_AUTH.
void ConfineSqlite(sqlite3* db);

/// Interrupts statements that run for too long; they fail with SQLITE_INTERRUPT. Must outlive them.
class SqliteTimer {
  public:
    /// 0 is no limit.
    SqliteTimer(sqlite3* db, std::chrono::milliseconds limit);
    SqliteTimer(const SqliteTimer&) = delete;
    SqliteTimer& operator=(const SqliteTimer&) = delete;

    /// A statement begins. Its time counts from its first thousands of steps on: most have ended by
    /// then, and need no look at the clock.
    void Start() noexcept { counting_ = false; }

  private:
    static int Expired(void* timer) noexcept;

    const std::chrono::milliseconds limit_;
    bool counting_ = false;
    std::chrono::steady_clock::time_point end_;
};

}  // namespace CQXDB::adapter::sqlite
