// What unwinding from a fault would meet.
#pragma once

#include <array>
#include <cstdint>

namespace CQXBASE::platform::faults {

/// Registers that a function finds again after a call, and where it then goes on.
struct CallerState {
    std::uintptr_t returnAddress;
    std::uintptr_t stack;
    std::array<std::uintptr_t, 6> saved;  ///< in the order of kSavedRegisters
};

// Called in a signal handler, for the fault at `instruction`.

bool HasUnwindData(std::uintptr_t instruction) noexcept;

/// Whether every frame from the fault up to the one that holds `object` can be unwound.
bool CanUnwindTo(std::uintptr_t instruction, const void* object) noexcept;

/// True when the innermost function with an exception table is at a place that the table leaves
/// out, where unwinding ends the process: on entering it, where it touches its variables, or in a
/// call of a C function that isn't taken to throw. `caller` is then where to unwind from, at the
/// price of the objects that this one function had made.
bool WouldTerminate(std::uintptr_t instruction, CallerState& caller) noexcept;

}  // namespace CQXBASE::platform::faults
