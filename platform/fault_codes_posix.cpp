#include <algorithm>
#include <iterator>

#include "platform/fault_context_posix.h"
#include "platform/fault_thread_posix.h"

namespace CQXBASE::platform {
namespace {

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

}  // namespace CQXBASE::platform
