#include <mutex>

#include "platform/recursive_lock.h"

namespace CQXBASE::platform {

struct RecursiveLock::Native {
    std::recursive_mutex mutex;
};

RecursiveLock::RecursiveLock(unsigned) : native_(std::make_unique<Native>()) {}
RecursiveLock::~RecursiveLock() = default;

void RecursiveLock::Enter() {
    native_->mutex.lock();
}
void RecursiveLock::Leave() noexcept {
    native_->mutex.unlock();
}

}  // namespace CQXBASE::platform
