// The processor state at a fault.
#pragma once

#include <csignal>
#include <cstdint>
#include <ucontext.h>

#include "platform/faults/hooks.h"

namespace CQXBASE::platform::faults {

/// State that a signal handler got. The unwinder starts from it, so changes to it count.
class FaultContext {
  public:
    /// `context` is the handler's third argument and outlives this object.
    explicit FaultContext(void* context) noexcept : context_(*static_cast<ucontext_t*>(context)) {}

    std::uintptr_t instruction() const noexcept;
    std::uintptr_t stack() const noexcept;

    /// Makes the state one from which the unwinder gets on: after a breakpoint that of the
    /// breakpoint itself; after a call of a bad pointer, or in a function that isn't taken to throw
    /// there, that of the caller.
    void PointIntoFault(const FaultRecord& record) noexcept;

    /// Unblocks what a host handler that called ours had blocked.
    void RestoreSignalMask() const noexcept;

  private:
    void ReturnTo(std::uintptr_t returnAddress, std::uintptr_t stack) noexcept;

    ucontext_t& context_;
};

/// Reads what `signal` tells. False when it was sent by a program rather than raised by a fault.
bool ReadFault(int signal, const siginfo_t& info, const FaultContext& context,
               FaultRecord& record) noexcept;

}  // namespace CQXBASE::platform::faults
