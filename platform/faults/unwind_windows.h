// What unwinding from a fault would meet.
#pragma once

#include <windows.h>

/// Of the frame of CallInRegion().
extern "C" EXCEPTION_DISPOSITION QXDBFaultHandler(EXCEPTION_RECORD* record, void* guard,
                                                  CONTEXT* context, DISPATCHER_CONTEXT* dispatch);

namespace CQXBASE::platform::faults {

/// When the innermost function with an exception table of C++, called under the frame `guard`, is
/// at a place that the table leaves out, where unwinding ends the process: makes the state that of
/// its caller, at the price of the objects that this one function had made.
void LeaveTerminatingFunction(CONTEXT& fault, const void* guard) noexcept;

/// Whether an exception thrown at `fault` would reach the frame that holds `object`: every frame on
/// the way has unwind data, and none has a structured handler, to which the fault may belong.
bool CanUnwindTo(const CONTEXT& fault, const void* object) noexcept;

}  // namespace CQXBASE::platform::faults
