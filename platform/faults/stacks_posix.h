// The stacks of a thread that handles its own stack overflow.
#pragma once

namespace CQXBASE::platform::faults {

/// Until the calling thread ends: an alternate signal stack for it, unless it has one of sufficient
/// size, and a reserve at the far end of its own stack. Without memory for them the thread does
/// without: an overflow then ends the process.
void PrepareStacks() noexcept;

/// From the handler of an overflow: gives the reserve to the destructors that unwinding will run.
void OpenStackReserve() noexcept;

/// At the edges of a region: closes the reserve again once the stack is shallow.
void CloseStackReserve() noexcept;

}  // namespace CQXBASE::platform::faults
