// What unwinding from a fault would meet.
#pragma once

#include <windows.h>

namespace CQXBASE::platform {

/// Whether an exception thrown at `fault` would reach the frame that holds `object`: every frame on
/// the way has unwind data, and none has a structured handler, to which the fault would belong.
bool CanUnwindTo(const CONTEXT& fault, const void* object) noexcept;

}  // namespace CQXBASE::platform
