#include <qxdb/Cancellation.h>

#include "adapter/connection.h"

namespace CQXDB {

void Cancellation::Cancel() noexcept {
    cancelled_ = true;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (running_ != nullptr) {
        running_->Cancel();
    }
}

}  // namespace CQXDB
