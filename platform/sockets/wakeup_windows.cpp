#include <ace/Flag_Manip.h>
#include <ace/Pipe.h>

#include "platform/sockets/wakeup.h"

namespace CQXBASE::platform::sockets {

/// Select takes sockets only, and so this pipe is a pair of them.
struct Wakeup::Native {
    ACE_Pipe pipe;
};

Wakeup::Wakeup() : native_(std::make_unique<Native>()) {
    if (native_->pipe.open() == -1) {
        return;
    }
    ACE::set_flags(native_->pipe.read_handle(), ACE_NONBLOCK);
    ACE::set_flags(native_->pipe.write_handle(), ACE_NONBLOCK);
}

Wakeup::~Wakeup() {
    native_->pipe.close();
}

ACE_HANDLE Wakeup::Handle() const noexcept {
    return native_->pipe.read_handle();
}

// A full pipe wakes as well.
void Wakeup::Signal() noexcept {
    native_->pipe.send("", 1);
}

void Wakeup::Clear() noexcept {
    char bytes[64];
    while (native_->pipe.recv(bytes, sizeof bytes) == sizeof bytes) {
    }
}

}  // namespace CQXBASE::platform::sockets
