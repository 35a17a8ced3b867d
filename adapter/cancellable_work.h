// The stretch of a call in which it can be cancelled.
#pragma once

#include <mutex>

#include <qxdb/Cancellation.h>

#include "adapter/cancel_mark.h"
#include "adapter/connection.h"

namespace CQXDB::adapter {

/// Makes `connection` the one that `cancellation`, which may be null, reaches. Throws DatabaseError
/// when it is cancelled already.
class CancellableWork {
  public:
    CancellableWork(Cancellation* cancellation, Connection& connection)
        : cancellation_(cancellation) {
        if (cancellation_ != nullptr) {
            const std::lock_guard<std::mutex> lock(cancellation_->mutex_);
            Check(cancellation_);
            cancellation_->running_ = &connection;
        }
    }
    CancellableWork(const CancellableWork&) = delete;
    CancellableWork& operator=(const CancellableWork&) = delete;
    ~CancellableWork() {
        if (cancellation_ != nullptr) {
            const std::lock_guard<std::mutex> lock(cancellation_->mutex_);
            cancellation_->running_ = nullptr;
        }
    }

    /// Throws DatabaseError when cancelled.
    static void Check(const Cancellation* cancellation) {
        if (cancellation != nullptr && cancellation->Cancelled()) {
            RefuseCancelled();
        }
    }

  private:
    Cancellation* cancellation_;
};

}  // namespace CQXDB::adapter
