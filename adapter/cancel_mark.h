// That a connection was cancelled.
#pragma once

#include <atomic>

#include "adapter/database_error.h"

namespace CQXDB::adapter {

[[noreturn]] inline void RefuseCancelled() {
    throw DatabaseError(DBMGR_CANCELLED, "the call was cancelled");
}

/// Set by Connection::Cancel, and looked at before anything more goes to the database. Stays, so
/// that such a connection is not used again, unless it has a transaction that goes on.
class CancelMark {
  public:
    void Set() noexcept { set_ = true; }
    void Clear() noexcept { set_ = false; }
    bool IsSet() const noexcept { return set_; }
    /// Throws DatabaseError when set.
    void Check() const {
        if (set_) {
            RefuseCancelled();
        }
    }

  private:
    std::atomic<bool> set_{false};
};

}  // namespace CQXDB::adapter
