#include "platform/fault_context_posix.h"

#include "platform/fault_unwind_posix.h"

#ifndef __x86_64__
#error "The processor state of a fault is known for x86-64 only"
#endif

namespace CQXBASE::platform {
namespace {

constexpr std::array<int, 6> kSavedRegisters = {REG_RBX, REG_RBP, REG_R12,
                                                REG_R13, REG_R14, REG_R15};

}  // namespace

std::uintptr_t FaultContext::instruction() const noexcept {
    return static_cast<std::uintptr_t>(context_.uc_mcontext.gregs[REG_RIP]);
}

std::uintptr_t FaultContext::stack() const noexcept {
    return static_cast<std::uintptr_t>(context_.uc_mcontext.gregs[REG_RSP]);
}

void FaultContext::RestoreSignalMask() const noexcept {
    pthread_sigmask(SIG_SETMASK, &context_.uc_sigmask, nullptr);
}

void FaultContext::ReturnTo(std::uintptr_t returnAddress, std::uintptr_t stack) noexcept {
    // Into the call, not behind it, where another exception table entry may begin.
    context_.uc_mcontext.gregs[REG_RIP] = static_cast<greg_t>(returnAddress - 1);
    context_.uc_mcontext.gregs[REG_RSP] = static_cast<greg_t>(stack);
}

void FaultContext::PointIntoFault(const FaultRecord& record) noexcept {
    if (record.code == kBreakpoint) {
        context_.uc_mcontext.gregs[REG_RIP] = static_cast<greg_t>(record.address);
    } else if (!HasUnwindData(instruction())) {
        const auto* top =
            reinterpret_cast<const std::uintptr_t*>(stack());  // NOLINT(performance-no-int-to-ptr)
        ReturnTo(*top, stack() + sizeof *top);
    }
    CallerState caller{};
    if (WouldTerminate(instruction(), caller)) {
        ReturnTo(caller.returnAddress, caller.stack);
        for (std::size_t i = 0; i < kSavedRegisters.size(); ++i) {
            context_.uc_mcontext.gregs[kSavedRegisters[i]] = static_cast<greg_t>(caller.saved[i]);
        }
    }
}

}  // namespace CQXBASE::platform
