// The look at the timer within a function.
#pragma once

#include <cstddef>

#include "adapter/sqlite/session.h"

namespace CQXDB::adapter::sqlite {

/// Looks at the session's timer now and then; for a function whose user data is the session.
class Progress {
  public:
    explicit Progress(sqlite3_context* context)
        : timer_(static_cast<SqliteSession*>(sqlite3_user_data(context))->timer) {}

    /// `bytes` are going to be compared; true when there is no time left for that.
    bool Over(std::size_t bytes) noexcept {
        done_ += bytes + 1;
        if (done_ < kBytesBetweenLooks) {
            return false;
        }
        done_ = 0;
        return timer_.Over();
    }

  private:
    static constexpr std::size_t kBytesBetweenLooks = std::size_t{1} << 20;  ///< about 1 ms

    SqliteTimer& timer_;
    std::size_t done_ = 0;
};

inline void Interrupt(sqlite3_context* context) {
    sqlite3_result_error_code(context, SQLITE_INTERRUPT);
}

}  // namespace CQXDB::adapter::sqlite
