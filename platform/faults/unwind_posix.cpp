#include "platform/faults/unwind_posix.h"

#include <unwind.h>

#include "platform/faults/exception_table.h"

namespace CQXBASE::platform::faults {
namespace {

constexpr std::array<int, 6> kSavedRegisters = {3, 6, 12, 13, 14, 15};  // rbx, rbp, r12 to r15

struct Search {
    std::uintptr_t instruction;  ///< where the fault's own frame begins
    std::uintptr_t stack;        ///< a place in the frame that is looked for
    bool inside;                 ///< past the handler's frames, which may be on another stack
    bool found;
};

_Unwind_Reason_Code LookForFrame(_Unwind_Context* frame, void* argument) {
    auto& search = *static_cast<Search*>(argument);
    search.inside = search.inside || _Unwind_GetIP(frame) == search.instruction;
    search.found = search.inside && _Unwind_GetCFA(frame) > search.stack;
    return search.found ? _URC_END_OF_STACK : _URC_NO_REASON;
}

const unsigned char* TableOf(_Unwind_Context* frame) {
    return static_cast<const unsigned char*>(_Unwind_GetLanguageSpecificData(frame));
}

bool IsCovered(_Unwind_Context* frame) {
    int before = 0;  // whether the place is that of an instruction and not behind a call
    const std::uintptr_t place = _Unwind_GetIPInfo(frame, &before);
    return Covers(TableOf(frame), place - (before == 0 ? 1 : 0) - _Unwind_GetRegionStart(frame));
}

struct CallerSearch {
    std::uintptr_t instruction;
    CallerState* caller;
    bool inside;
    bool isNext;  ///< the frame visited last is the one to leave
    bool found;
};

void Read(_Unwind_Context* frame, CallerState& caller) {
    caller.returnAddress = _Unwind_GetIP(frame);
    caller.stack = _Unwind_GetCFA(frame);
    for (std::size_t i = 0; i < kSavedRegisters.size(); ++i) {
        caller.saved[i] = _Unwind_GetGR(frame, kSavedRegisters[i]);
    }
}

_Unwind_Reason_Code LookForCaller(_Unwind_Context* frame, void* argument) {
    auto& search = *static_cast<CallerSearch*>(argument);
    if (search.isNext) {
        Read(frame, *search.caller);
        search.found = true;
        return _URC_END_OF_STACK;
    }
    search.inside = search.inside || _Unwind_GetIP(frame) == search.instruction;
    if (!search.inside || TableOf(frame) == nullptr) {
        return _URC_NO_REASON;
    }
    search.isNext = !IsCovered(frame);
    return search.isNext ? _URC_NO_REASON : _URC_END_OF_STACK;
}

}  // namespace

bool HasUnwindData(std::uintptr_t instruction) noexcept {
    // The function looks one byte below its argument, as for a return address.
    return _Unwind_FindEnclosingFunction(
               reinterpret_cast<void*>(instruction + 1)) !=  // NOLINT(performance-no-int-to-ptr)
           nullptr;
}

bool CanUnwindTo(std::uintptr_t instruction, const void* object) noexcept {
    Search search{instruction, reinterpret_cast<std::uintptr_t>(object), false, false};
    _Unwind_Backtrace(LookForFrame, &search);
    return search.found;
}

bool WouldTerminate(std::uintptr_t instruction, CallerState& caller) noexcept {
    CallerSearch search{instruction, &caller, false, false, false};
    _Unwind_Backtrace(LookForCaller, &search);
    return search.found;
}

}  // namespace CQXBASE::platform::faults
