// The far end of a thread's stack, kept for the time after an overflow.
#pragma once

#include <cstddef>
#include <cstdint>

namespace CQXBASE::platform {

/// Without it, the destructors next to an overflow would overflow again, and end the process. The
/// first thread's stack is let grow beyond its limit for that time; others have the reserve closed
/// to them from the start.
class StackReserve {
  public:
    StackReserve() noexcept;
    ~StackReserve();
    StackReserve(const StackReserve&) = delete;
    StackReserve& operator=(const StackReserve&) = delete;
};

}  // namespace CQXBASE::platform
