// Ends a database manager's call from another thread.
#pragma once

#include <atomic>
#include <mutex>

#include <qxdb/Export.h>

namespace CQXDB {

namespace adapter {
class CancellableWork;
class Connection;
}  // namespace adapter

/// Handed to a manager with SetCancellation. It outlives the calls that it may end. Thread-safe.
class QXDB_ADAPTER_API Cancellation {
  public:
    Cancellation() = default;
    Cancellation(const Cancellation&) = delete;
    Cancellation& operator=(const Cancellation&) = delete;

    /// Asks the database to end the statement that is running, and fails the call it belongs to and
    /// every later one with DBMGR_CANCELLED; what such a call has changed is rolled back. A call
    /// that is done by then, its commit included, succeeds all the same. May take as long as
    /// connecting to the database does. A statement that begins just now can miss the request:
    /// repeat it for as long as the call goes on.
    void Cancel() noexcept;
    bool Cancelled() const noexcept { return cancelled_; }

  private:
    friend class adapter::CancellableWork;

    std::atomic<bool> cancelled_{false};
    std::mutex mutex_;
    adapter::Connection* running_ = nullptr;  ///< guarded by mutex_
};

}  // namespace CQXDB
