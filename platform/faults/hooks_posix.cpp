#include <cerrno>
#include <csignal>

#include "platform/faults/context_posix.h"
#include "platform/faults/hooks.h"
#include "platform/faults/signals_posix.h"
#include "platform/faults/stacks_posix.h"
#include "platform/faults/thread_posix.h"
#include "platform/faults/unwind_posix.h"

namespace CQXBASE::platform::faults {

__thread ThreadFaults tThreadFaults __attribute__((tls_model("initial-exec")));

namespace {

/// A fault while one is being translated is left to the host: translating it would end nowhere.
class Translating {
  public:
    Translating() { CurrentThread().translating = true; }
    ~Translating() { CurrentThread().translating = false; }
    Translating(const Translating&) = delete;
    Translating& operator=(const Translating&) = delete;
};

/// Throws when the fault is one and the exception would find its region.
void Translate(int signal, const siginfo_t& info, void* signalContext) {
    const ThreadFaults& thread = CurrentThread();
    if (thread.innermost == nullptr || thread.translator == nullptr || thread.translating) {
        return;
    }
    const Translating translating;
    FaultContext context(signalContext);
    FaultRecord record{};
    if (!ReadFault(signal, info, context, record)) {
        return;
    }
    const mcontext_t before = static_cast<ucontext_t*>(signalContext)->uc_mcontext;
    context.PointIntoFault(record);
    const bool below = context.stack() <= reinterpret_cast<std::uintptr_t>(thread.innermost);
    if (below && CanUnwindTo(context.instruction(), thread.innermost)) {
        if (record.code == kStackOverflow) {
            OpenStackReserve();
        }
        context.RestoreSignalMask();
        ExceptionPointers pointers{&record};
        thread.translator(record.code, &pointers);
    }
    static_cast<ucontext_t*>(signalContext)->uc_mcontext = before;
}

void OnSignal(int signal, siginfo_t* info, void* context) {
    const int error = errno;
    Translate(signal, *info, context);
    errno = error;
    GiveToHost(signal, info, context);
}

}  // namespace

FaultRecord RecordOf(const ExceptionPointers& pointers) noexcept {
    return *pointers.record;
}

void SetFaultTranslator(FaultTranslator translator) noexcept {
    CurrentThread().translator = translator;
    PrepareStacks();
}

void SetInvalidParameterHandler(InvalidParameterHandler) noexcept {}

FaultRegion::FaultRegion() noexcept : outer_(CurrentThread().innermost) {
    if (outer_ == nullptr) {
        TakeSignals(OnSignal);
    }
    CurrentThread().innermost = this;
    CloseStackReserve();
}

FaultRegion::~FaultRegion() {
    CurrentThread().innermost = outer_;
    CloseStackReserve();
    if (outer_ == nullptr) {
        ReturnSignals();
    }
}

void CallInRegion(void (*body)(void*), void* object) {
    body(object);
}

bool InFaultRegion() noexcept {
    return CurrentThread().innermost != nullptr;
}

}  // namespace CQXBASE::platform::faults
