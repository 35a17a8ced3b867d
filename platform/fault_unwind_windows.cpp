#include "platform/fault_unwind_windows.h"

#include <cstdint>
#include <cstring>

extern "C" EXCEPTION_DISPOSITION __gxx_personality_seh0(EXCEPTION_RECORD*, void*, CONTEXT*,
                                                        DISPATCHER_CONTEXT*);
extern "C" EXCEPTION_DISPOSITION __gcc_personality_seh0(EXCEPTION_RECORD*, void*, CONTEXT*,
                                                        DISPATCHER_CONTEXT*);

namespace CQXBASE::platform {
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

}  // namespace

bool CanUnwindTo(const CONTEXT& fault, const void* object) noexcept {
    CONTEXT frame = fault;
    for (bool first = true; frame.Rsp <= reinterpret_cast<std::uintptr_t>(object); first = false) {
        DWORD64 base = 0;
        RUNTIME_FUNCTION* function = RtlLookupFunctionEntry(frame.Rip, &base, nullptr);
        if (function == nullptr && !first) {
            return false;
        }
        if (function == nullptr) {
            LeaveLeaf(frame);
            continue;
        }
        void* data = nullptr;
        DWORD64 establisher = 0;
        EXCEPTION_ROUTINE* handler = RtlVirtualUnwind(UNW_FLAG_EHANDLER, base, frame.Rip, function,
                                                      &frame, &data, &establisher, nullptr);
        if (handler != nullptr && !IsOurPersonality(handler)) {
            return false;
        }
    }
    return true;
}

}  // namespace CQXBASE::platform
