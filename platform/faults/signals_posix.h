// The signals of processor faults, shared with the host.
#pragma once

#include <csignal>

namespace CQXBASE::platform::faults {

using SignalHandler = void (*)(int signal, siginfo_t* info, void* context);

/// Called on entering a thread's outermost region: `handler` gets the fault signals, in place of
/// handlers that the host has set since, and they are not blocked on this thread.
void TakeSignals(SignalHandler handler) noexcept;

/// Called on leaving it. The last thread to leave puts the host's handlers back.
void ReturnSignals() noexcept;

/// From within the handler: does what would have happened without it.
void GiveToHost(int signal, siginfo_t* info, void* context);

}  // namespace CQXBASE::platform::faults
