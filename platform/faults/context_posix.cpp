#include "platform/faults/context_posix.h"

#include <algorithm>
#include <iterator>

#include "platform/faults/thread_posix.h"
#include "platform/faults/unwind_posix.h"

#ifndef __x86_64__
#error "The processor state of a fault is known for x86-64 only"
#endif

namespace CQXBASE::platform::faults {
namespace {

constexpr std::array<int, 6> kSavedRegisters = {REG_RBX, REG_RBP, REG_R12,
                                                REG_R13, REG_R14, REG_R15};

constexpr int kAnyCause = 0;

struct FaultCode {
    int signal;
    int cause;  ///< si_code; kAnyCause stands for the rest
    std::uint32_t code;
};

constexpr FaultCode kCodes[] = {
    {SIGSEGV, SEGV_BNDERR, 0xC000008C}, {SIGSEGV, kAnyCause, kAccessViolation},
    {SIGFPE, FPE_INTDIV, 0xC0000094},   {SIGFPE, FPE_INTOVF, 0xC0000095},
    {SIGFPE, FPE_FLTDIV, 0xC000008E},   {SIGFPE, FPE_FLTOVF, 0xC0000091},
    {SIGFPE, FPE_FLTUND, 0xC0000093},   {SIGFPE, FPE_FLTRES, 0xC000008F},
    {SIGFPE, FPE_FLTSUB, 0xC000008C},   {SIGFPE, kAnyCause, 0xC0000090},
    {SIGILL, ILL_PRVOPC, 0xC0000096},   {SIGILL, ILL_PRVREG, 0xC0000096},
    {SIGILL, kAnyCause, 0xC000001D},    {SIGBUS, BUS_ADRALN, 0x80000002},
    {SIGBUS, kAnyCause, 0xC0000006},    {SIGTRAP, TRAP_TRACE, 0x80000004},
    {SIGTRAP, TRAP_BRKPT, kBreakpoint}, {SIGTRAP, SI_KERNEL, kBreakpoint},
};

bool Within(std::uintptr_t address, std::uintptr_t place, std::uintptr_t below,
            std::uintptr_t above) {
    return address + below >= place && address < place + above;
}

/// Reached just beyond the stack: below the stack pointer, or where a large frame would lie.
bool IsStackOverflow(std::uintptr_t touched, std::uintptr_t stackPointer) {
    constexpr std::uintptr_t page = 4096;
    constexpr std::uintptr_t reach = 16 * page;
    const std::uintptr_t end = CurrentThread().stack.end;
    return Within(touched, stackPointer, reach, page) ||
           (end != 0 && Within(touched, end, reach, page));
}

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

bool ReadFault(int signal, const siginfo_t& info, const FaultContext& context,
               FaultRecord& record) noexcept {
    const auto* row =
        std::find_if(std::begin(kCodes), std::end(kCodes), [&](const FaultCode& each) {
            return each.signal == signal &&
                   (each.cause == info.si_code || (each.cause == kAnyCause && info.si_code > 0));
        });
    if (row == std::end(kCodes)) {
        return false;
    }
    record = {row->code, context.instruction()};
    if (row->code == kAccessViolation &&
        IsStackOverflow(reinterpret_cast<std::uintptr_t>(info.si_addr), context.stack())) {
        record.code = kStackOverflow;
    }
    if (signal == SIGTRAP && info.si_code == SI_KERNEL) {
        --record.address;  // the processor stops behind the one-byte breakpoint
    }
    return true;
}

}  // namespace CQXBASE::platform::faults
