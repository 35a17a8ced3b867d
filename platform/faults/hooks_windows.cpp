#include <algorithm>
#include <cstdint>
#include <iterator>
#include <malloc.h>
#include <stdlib.h>
#include <windows.h>

#include "platform/faults/hooks.h"
#include "platform/faults/thread_windows.h"
#include "platform/faults/unwind_windows.h"

extern "C" void QXDBCallGuarded(void (*body)(void*), void* object);
extern "C" void QXDBEnterThrowFault();

// The first calls `body(object)` with the fault handler on its frame: the system asks it after all
// frames that the body has called, so that each of them may handle what is its own.
// The second is entered as if the faulting instruction had called it, with whatever alignment the
// stack had there, which the unwinder finds again through the frame register.
asm(R"(
    .text
    .globl QXDBCallGuarded
    .seh_proc QXDBCallGuarded
    .seh_handler QXDBFaultHandler, @except
QXDBCallGuarded:
    sub $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    mov %rcx, %rax
    mov %rdx, %rcx
    call *%rax
    nop
    add $40, %rsp
    ret
    .seh_endproc

    .globl QXDBEnterThrowFault
    .seh_proc QXDBEnterThrowFault
QXDBEnterThrowFault:
    push %rbp
    .seh_pushreg %rbp
    mov %rsp, %rbp
    .seh_setframe %rbp, 0
    .seh_endprologue
    and $-16, %rsp
    sub $32, %rsp
    call QXDBThrowFault
    int3
    .seh_endproc
)");

namespace CQXBASE::platform::faults {
namespace {

/// The exceptions of a language, which its own frames unwind, and what is said to debuggers (the
/// severity "informational": printed text, a thread's name, Ctrl+C) and goes on afterwards.
bool IsNoFault(DWORD code) noexcept {
    constexpr DWORD kGccFirst = 0x20474343;
    constexpr DWORD kGccKind = 0x0F000000;  // thrown, unwinding, forced
    constexpr DWORD kVisualCpp = 0xE06D7363;
    return code >> 30 == 1 || (code & ~kGccKind) == kGccFirst || code == kVisualCpp;
}

// The rest is raised by programs, and belongs to whoever expects it, up to the region.
constexpr DWORD kProcessorFaults[] = {
    EXCEPTION_ACCESS_VIOLATION,      EXCEPTION_ARRAY_BOUNDS_EXCEEDED, EXCEPTION_BREAKPOINT,
    EXCEPTION_DATATYPE_MISALIGNMENT, EXCEPTION_FLT_DENORMAL_OPERAND,  EXCEPTION_FLT_DIVIDE_BY_ZERO,
    EXCEPTION_FLT_INEXACT_RESULT,    EXCEPTION_FLT_INVALID_OPERATION, EXCEPTION_FLT_OVERFLOW,
    EXCEPTION_FLT_STACK_CHECK,       EXCEPTION_FLT_UNDERFLOW,         EXCEPTION_GUARD_PAGE,
    EXCEPTION_ILLEGAL_INSTRUCTION,   EXCEPTION_IN_PAGE_ERROR,         EXCEPTION_INT_DIVIDE_BY_ZERO,
    EXCEPTION_INT_OVERFLOW,          EXCEPTION_PRIV_INSTRUCTION,      EXCEPTION_SINGLE_STEP,
    EXCEPTION_STACK_OVERFLOW,
};

bool IsProcessorFault(DWORD code) {
    return std::find(std::begin(kProcessorFaults), std::end(kProcessorFaults), code) !=
           std::end(kProcessorFaults);
}

/// A fault while one is being translated is left to the host: translating it would end nowhere.
class Translating {
  public:
    explicit Translating(ThreadFaults& thread) : thread_(thread) {}
    ~Translating() { thread_.translating = false; }
    Translating(const Translating&) = delete;
    Translating& operator=(const Translating&) = delete;

  private:
    ThreadFaults& thread_;
};

/// The return address lies inside the instruction, for the unwinder to find the instruction's
/// place.
void RedirectTo(void (*function)(), CONTEXT& context) {
    context.Rsp -= sizeof context.Rip;
    *reinterpret_cast<DWORD64*>(context.Rsp) = context.Rip + 1;
    context.Rip = reinterpret_cast<DWORD64>(function);
}

/// Makes the thread that stands at `context`, under the frame `guard`, throw the fault as an
/// exception.
void Deliver(ThreadFaults& thread, const EXCEPTION_RECORD& record, CONTEXT& context,
             const void* guard) {
    LeaveTerminatingFunction(context, guard);
    thread.translating = true;
    thread.overflowed = thread.overflowed || record.ExceptionCode == EXCEPTION_STACK_OVERFLOW;
    thread.record = record;
    RedirectTo(QXDBEnterThrowFault, context);
}

/// The calling thread when a fault of it could be translated, or null.
ThreadFaults* ReadyThread() {
    ThreadFaults* thread = ExistingThread();
    const bool ready = thread != nullptr && thread->innermost != nullptr &&
                       thread->translator != nullptr && !thread->translating;
    return ready ? thread : nullptr;
}

/// Comes first: a fault of ours is no affair of the host's handlers.
LONG CALLBACK OnException(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (!IsProcessorFault(record.ExceptionCode)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    ThreadFaults* thread = ReadyThread();
    if (thread == nullptr) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    CONTEXT& context = *pointers->ContextRecord;
    if (!CanUnwindTo(context, thread->innermost)) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    Deliver(*thread, record, context, thread->innermost);
    return EXCEPTION_CONTINUE_EXECUTION;
}

/// In force until this library is unloaded.
class Registration {
  public:
    Registration() noexcept : handle_(AddVectoredExceptionHandler(TRUE, OnException)) {}
    ~Registration() { RemoveVectoredExceptionHandler(handle_); }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

  private:
    void* handle_;
};

}  // namespace

/// Comes last: neither a vectored handler nor a frame inside the region's call wanted it.
EXCEPTION_DISPOSITION OnUnhandled(EXCEPTION_RECORD& record, const void* guard, CONTEXT& context) {
    constexpr DWORD kUnwinding = EXCEPTION_UNWINDING | EXCEPTION_EXIT_UNWIND;
    if ((record.ExceptionFlags & kUnwinding) != 0 || IsNoFault(record.ExceptionCode)) {
        return ExceptionContinueSearch;
    }
    ThreadFaults* thread = ReadyThread();
    if (thread == nullptr) {
        return ExceptionContinueSearch;
    }
    Deliver(*thread, record, context, guard);
    // It is thrown, not continued; the system would refuse that.
    record.ExceptionFlags &= ~static_cast<DWORD>(EXCEPTION_NONCONTINUABLE);
    return ExceptionContinueExecution;
}

void ThrowFault() {
    ThreadFaults& thread = *ExistingThread();
    const Translating translating(thread);
    EXCEPTION_POINTERS pointers = {&thread.record, nullptr};
    thread.translator(thread.record.ExceptionCode, &pointers);
}

FaultRecord RecordOf(const ExceptionPointers& pointers) noexcept {
    const EXCEPTION_RECORD& record = *pointers.ExceptionRecord;
    return {record.ExceptionCode, reinterpret_cast<std::uintptr_t>(record.ExceptionAddress)};
}

void SetFaultTranslator(FaultTranslator translator) noexcept {
    static const Registration registration;
    if (ThreadFaults* thread = CurrentThread()) {
        thread->translator = translator;
    }
}

void SetInvalidParameterHandler(InvalidParameterHandler handler) noexcept {
    _set_invalid_parameter_handler(handler);
}

FaultRegion::FaultRegion() noexcept : outer_(nullptr) {
    if (ThreadFaults* thread = CurrentThread()) {
        outer_ = thread->innermost;
        thread->innermost = this;
    }
}

FaultRegion::~FaultRegion() {
    ThreadFaults* thread = ExistingThread();
    if (thread == nullptr) {
        return;
    }
    const LastErrorKept kept;
    thread->innermost = outer_;
    if (thread->overflowed) {
        thread->overflowed = _resetstkoflw() == 0;  // refused while the stack is still deep
    }
}

void CallInRegion(void (*body)(void*), void* object) {
    QXDBCallGuarded(body, object);
}

bool InFaultRegion() noexcept {
    const ThreadFaults* thread = ExistingThread();
    return thread != nullptr && thread->innermost != nullptr;
}

}  // namespace CQXBASE::platform::faults

extern "C" void QXDBThrowFault() {
    CQXBASE::platform::faults::ThrowFault();
}

extern "C" EXCEPTION_DISPOSITION QXDBFaultHandler(EXCEPTION_RECORD* record, void* guard,
                                                  CONTEXT* context, DISPATCHER_CONTEXT*) {
    return CQXBASE::platform::faults::OnUnhandled(*record, guard, *context);
}
