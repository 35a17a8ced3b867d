// The platform's hooks for faults outside the language's exceptions.
#pragma once

#include <cstdint>

#ifdef _WIN32
struct _EXCEPTION_POINTERS;  // NOLINT(bugprone-reserved-identifier)
#endif

namespace CQXBASE::platform::faults {

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

// Handlers end in a throw.
using FaultTranslator = void (*)(unsigned int code, ExceptionPointers* pointers);
using InvalidParameterHandler = void (*)(const wchar_t* expression, const wchar_t* function,
                                         const wchar_t* file, unsigned int line,
                                         std::uintptr_t reserved);
using PureCallHandler = void (*)();

/// For the calling thread. Prepares it for a stack overflow too.
void SetFaultTranslator(FaultTranslator translator) noexcept;
/// For the process, where its runtime checks parameters.
void SetInvalidParameterHandler(InvalidParameterHandler handler) noexcept;
/// For the process on Windows; elsewhere for the classes of this program or shared library.
void SetPureCallHandler(PureCallHandler handler) noexcept;

/// The calling thread's faults go to its translator while a region lives, and to the host
/// otherwise.
class FaultRegion {
  public:
    FaultRegion() noexcept;
    ~FaultRegion();
    FaultRegion(const FaultRegion&) = delete;
    FaultRegion& operator=(const FaultRegion&) = delete;

  private:
    const FaultRegion* outer_;
};

/// Calls `body(object)` in a function of its own, from the function that holds the region. On
/// Windows what programs raise, and what foreign frames might have handled and didn't, becomes the
/// region's only out of this call.
void CallInRegion(void (*body)(void*), void* object);

/// Whether the calling thread is inside a region.
bool InFaultRegion() noexcept;

}  // namespace CQXBASE::platform::faults
