#include <system_error>
#include <windows.h>

#include "platform/recursive_lock.h"

namespace CQXBASE::platform {

struct RecursiveLock::Native {
    explicit Native(unsigned spinCount) {
        if (InitializeCriticalSectionAndSpinCount(&section, spinCount) == FALSE) {
            throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
        }
    }
    ~Native() { DeleteCriticalSection(&section); }
    Native(const Native&) = delete;
    Native& operator=(const Native&) = delete;

    CRITICAL_SECTION section;
};

RecursiveLock::RecursiveLock(unsigned spinCount) : native_(std::make_unique<Native>(spinCount)) {}
RecursiveLock::~RecursiveLock() = default;

void RecursiveLock::Enter() {
    EnterCriticalSection(&native_->section);
}
void RecursiveLock::Leave() noexcept {
    LeaveCriticalSection(&native_->section);
}

}  // namespace CQXBASE::platform
