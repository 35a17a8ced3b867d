#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

#include "platform/sockets/wakeup.h"

namespace CQXBASE::platform::sockets {

struct Wakeup::Native {
    int counter = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
};

Wakeup::Wakeup() : native_(std::make_unique<Native>()) {}

Wakeup::~Wakeup() {
    close(native_->counter);
}

ACE_HANDLE Wakeup::Handle() const noexcept {
    return native_->counter;
}

// Both fail only when the counter is as it should be already.
void Wakeup::Signal() noexcept {
    const std::uint64_t one = 1;
    static_cast<void>(!write(native_->counter, &one, sizeof one));
}

void Wakeup::Clear() noexcept {
    std::uint64_t count = 0;
    static_cast<void>(!read(native_->counter, &count, sizeof count));
}

}  // namespace CQXBASE::platform::sockets
