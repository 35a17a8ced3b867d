// What the platform tells about a processor fault.
#pragma once

#include <cstdint>

#ifdef _WIN32
struct _EXCEPTION_POINTERS;  // NOLINT(bugprone-reserved-identifier)
#endif

namespace CQXBASE::platform {

constexpr std::uint32_t kAccessViolation = 0xC0000005;
constexpr std::uint32_t kBreakpoint = 0x80000003;
constexpr std::uint32_t kStackOverflow = 0xC00000FD;

struct FaultRecord {
    std::uint32_t code;      ///< exception code in Windows numbering, on every platform
    std::uintptr_t address;  ///< of the instruction that faulted
};

#ifdef _WIN32
using ExceptionPointers = ::_EXCEPTION_POINTERS;
#else
struct ExceptionPointers {
    const FaultRecord* record;
};
#endif

FaultRecord RecordOf(const ExceptionPointers& pointers) noexcept;

}  // namespace CQXBASE::platform
