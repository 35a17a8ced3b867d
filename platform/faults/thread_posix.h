// What a signal handler has to know about its thread.
#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>

#include "platform/faults/hooks.h"

namespace CQXBASE::platform::faults {

struct ThreadFaults {
    /// A signal that a host handler is handling on this thread.
    struct HandedOver {
        const void* context;  ///< the handler's third argument
        const void* frame;    ///< a place in the stack frame that handed it over
    };

    struct Stack {
        enum class Reserve : unsigned char { None, Closed, Open };

        std::uintptr_t end;  ///< lowest address outside the reserve; 0 while unknown
        std::size_t size;    ///< bytes
        Reserve reserve;
    };

    FaultTranslator translator;
    const FaultRegion* innermost;  ///< null outside regions; lies in the frame that catches
    bool translating;
    bool taking;       ///< replacing the host's handlers
    bool anyBlocked;   ///< whether `blocked` has members
    sigset_t blocked;  ///< fault signals that the host keeps blocked on this thread
    Stack stack;
    HandedOver handedOver;
};

// In static thread storage: a handler may run on a thread that never came here, where touching
// dynamic storage would allocate.
extern __thread ThreadFaults tThreadFaults __attribute__((tls_model("initial-exec")));

inline ThreadFaults& CurrentThread() noexcept {
    return tThreadFaults;
}

}  // namespace CQXBASE::platform::faults
