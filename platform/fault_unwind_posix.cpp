#include "platform/fault_unwind_posix.h"

#include <unwind.h>

namespace CQXBASE::platform {
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

std::uintptr_t ReadUleb128(const unsigned char*& at) {
    std::uintptr_t value = 0;
    unsigned shift = 0;
    unsigned char byte = 0;
    do {
        byte = *at++;
        value |= static_cast<std::uintptr_t>(byte & 0x7FU) << shift;
        shift += 7;
    } while ((byte & 0x80U) != 0 && shift < 64);
    return value;
}

/// Whether the table of a function covers the place at `offset` in it. A table of another form than
/// the compilers write is taken to do so.
bool Covers(const unsigned char* table, std::uintptr_t offset) {
    constexpr unsigned char omitted = 0xFF;
    constexpr unsigned char uleb128 = 0x01;
    if (*table++ != omitted) {  // landing pads counted from elsewhere
        return true;
    }
    if (*table++ != omitted) {  // size of the type table
        ReadUleb128(table);
    }
    if (*table++ != uleb128) {
        return true;
    }
    const std::uintptr_t bytes = ReadUleb128(table);
    for (const unsigned char* end = table + bytes; table < end;) {
        const std::uintptr_t start = ReadUleb128(table);
        const std::uintptr_t length = ReadUleb128(table);
        ReadUleb128(table);  // landing pad
        ReadUleb128(table);  // action
        if (offset >= start && offset - start < length) {
            return true;
        }
    }
    return false;
}

bool IsUncovered(_Unwind_Context* frame) {
    const auto* table = static_cast<const unsigned char*>(_Unwind_GetLanguageSpecificData(frame));
    return table != nullptr && !Covers(table, _Unwind_GetIP(frame) - _Unwind_GetRegionStart(frame));
}

struct CallerSearch {
    std::uintptr_t instruction;
    CallerState* caller;
    bool atFault;  ///< the frame visited last was the fault's own
    bool found;
};

_Unwind_Reason_Code LookForCaller(_Unwind_Context* frame, void* argument) {
    auto& search = *static_cast<CallerSearch*>(argument);
    if (search.atFault) {
        search.found = true;
        search.caller->returnAddress = _Unwind_GetIP(frame);
        search.caller->stack = _Unwind_GetCFA(frame);
        for (std::size_t i = 0; i < kSavedRegisters.size(); ++i) {
            search.caller->saved[i] = _Unwind_GetGR(frame, kSavedRegisters[i]);
        }
        return _URC_END_OF_STACK;
    }
    if (_Unwind_GetIP(frame) != search.instruction) {
        return _URC_NO_REASON;
    }
    search.atFault = IsUncovered(frame);
    return search.atFault ? _URC_NO_REASON : _URC_END_OF_STACK;
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

bool IsOutsideExceptionTable(std::uintptr_t instruction, CallerState& caller) noexcept {
    CallerSearch search{instruction, &caller, false, false};
    _Unwind_Backtrace(LookForCaller, &search);
    return search.found;
}

}  // namespace CQXBASE::platform
