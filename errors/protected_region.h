// The extent in which faults of the calling thread become exceptions.
#pragma once

#include "platform/faults/hooks.h"

namespace CQXBASE {

/// While it lives, a fault, a pure virtual call or an invalid runtime parameter on this thread
/// arrives as QX_Exception in the frames above the faulting one. Regions nest; each is left by the
/// thread that entered it, in reverse order. Give it a frame of the function that catches, and call
/// what may fault through platform::faults::CallInRegion(), as RunProtected() does.
class ProtectedRegion {
  public:
    ProtectedRegion() noexcept;
    ~ProtectedRegion() = default;
    ProtectedRegion(const ProtectedRegion&) = delete;
    ProtectedRegion& operator=(const ProtectedRegion&) = delete;

  private:
    platform::faults::FaultRegion region_;
};

}  // namespace CQXBASE
