#include "platform/faults/unwind_windows.h"

#include <cstdint>
#include <cstring>

#include "platform/faults/exception_table.h"

extern "C" EXCEPTION_DISPOSITION __gxx_personality_seh0(EXCEPTION_RECORD*, void*, CONTEXT*,
                                                        DISPATCHER_CONTEXT*);
extern "C" EXCEPTION_DISPOSITION __gcc_personality_seh0(EXCEPTION_RECORD*, void*, CONTEXT*,
                                                        DISPATCHER_CONTEXT*);

namespace CQXBASE::platform::faults {
namespace {

/// Where a function of another image really is: images call it through a jump of their own.
const void* BehindJumps(const void* function) {
    constexpr unsigned char jump[] = {0xFF, 0x25};  // jmp [rip + offset]
    const auto* code = static_cast<const unsigned char*>(function);
    while (std::memcmp(code, jump, sizeof jump) == 0) {
        std::int32_t offset = 0;
        std::memcpy(&offset, code + sizeof jump, sizeof offset);
        std::memcpy(&code, code + sizeof jump + sizeof offset + offset, sizeof code);
    }
    return code;
}

template <class Function>
const void* Address(Function* function) {
    const void* address = nullptr;
    std::memcpy(&address, &function, sizeof address);
    return BehindJumps(address);
}

/// Whether the frame is one of C++ or C, whose handler runs destructors and catches exceptions
/// only.
bool IsOurPersonality(EXCEPTION_ROUTINE* handler) {
    const void* address = Address(handler);
    return address == Address(&__gxx_personality_seh0) ||
           address == Address(&__gcc_personality_seh0);
}

/// Goes to the caller of a function without a frame, or of a bad address.
void LeaveLeaf(CONTEXT& frame) {
    std::memcpy(&frame.Rip, reinterpret_cast<const void*>(frame.Rsp), sizeof frame.Rip);
    frame.Rsp += sizeof frame.Rip;
}

/// One step up the stack.
struct Step {
    EXCEPTION_ROUTINE* handler;  ///< null when the function left has none
    const unsigned char* table;  ///< of the function left
    DWORD64 offset;              ///< of the place in it
    bool known;                  ///< it has unwind data
};

Step LeaveFunction(CONTEXT& frame) {
    DWORD64 base = 0;
    RUNTIME_FUNCTION* function = RtlLookupFunctionEntry(frame.Rip, &base, nullptr);
    if (function == nullptr) {
        LeaveLeaf(frame);
        return {nullptr, nullptr, 0, false};
    }
    const DWORD64 offset = frame.Rip - base - function->BeginAddress;
    void* table = nullptr;
    DWORD64 establisher = 0;
    EXCEPTION_ROUTINE* handler = RtlVirtualUnwind(UNW_FLAG_EHANDLER, base, frame.Rip, function,
                                                  &frame, &table, &establisher, nullptr);
    return {handler, static_cast<const unsigned char*>(table), offset, true};
}

}  // namespace

bool CanUnwindTo(const CONTEXT& fault, const void* object) noexcept {
    CONTEXT frame = fault;
    const auto place = reinterpret_cast<std::uintptr_t>(object);
    if (frame.Rsp > place) {
        return false;
    }
    for (bool first = true; frame.Rsp <= place; first = false) {
        const Step step = LeaveFunction(frame);
        if ((!step.known && !first) ||
            (step.handler != nullptr && !IsOurPersonality(step.handler) &&
             Address(step.handler) != Address(&QXDBFaultHandler))) {
            return false;
        }
    }
    return true;
}

void LeaveTerminatingFunction(CONTEXT& fault, const void* guard) noexcept {
    CONTEXT frame = fault;
    const auto end = reinterpret_cast<std::uintptr_t>(guard);
    for (bool first = true; frame.Rsp < end; first = false) {
        const Step step = LeaveFunction(frame);
        if (!step.known && !first) {
            return;
        }
        --frame.Rip;  // into the call
        if (step.handler != nullptr && IsOurPersonality(step.handler)) {
            if (!Covers(step.table, step.offset)) {
                fault = frame;
            }
            return;
        }
    }
}

}  // namespace CQXBASE::platform::faults
