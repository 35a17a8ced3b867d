#include "platform/faults/host_action_posix.h"

#include <functional>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/faults/thread_posix.h"

namespace CQXBASE::platform::faults {
namespace {

/// Signal by signal: the C library leaves the bytes behind the last signal as they are.
bool SameMask(const sigset_t& a, const sigset_t& b) {
    for (int signal = 1; signal <= SIGRTMAX; ++signal) {
        if (sigismember(&a, signal) != sigismember(&b, signal)) {
            return false;
        }
    }
    return true;
}

bool Same(const struct sigaction& a, const struct sigaction& b) {
    return a.sa_sigaction == b.sa_sigaction && a.sa_flags == b.sa_flags &&
           SameMask(a.sa_mask, b.sa_mask);
}

/// Ends the process as if no handler had ever been set.
void TakeDefaultAction(int signal, siginfo_t* info) {
    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    sigaction(signal, &standard, nullptr);
    const bool happensAgain = info->si_code > 0 && signal != SIGTRAP;
    if (!happensAgain) {
        syscall(SYS_rt_tgsigqueueinfo, getpid(), gettid(), signal, info);
    }
}

/// Marks this thread's signal as handed to the host, whose handler may call ours with it. A host
/// that leaves its handler by a jump leaves the mark behind, but a new signal lies no deeper than
/// it.
class HandedOver {
  public:
    explicit HandedOver(const void* context) : outer_(CurrentThread().handedOver) {
        CurrentThread().handedOver = {context, this};
    }
    ~HandedOver() { CurrentThread().handedOver = outer_; }
    HandedOver(const HandedOver&) = delete;
    HandedOver& operator=(const HandedOver&) = delete;

    bool calledByHost(const void* context) const {
        return outer_.context == context && std::less<const void*>()(this, outer_.frame);
    }

  private:
    ThreadFaults::HandedOver outer_;
};

/// Blocks what the kernel would block for the host's handler.
class BlockedFor {
  public:
    BlockedFor(const struct sigaction& action, int signal) {
        sigset_t mask = action.sa_mask;
        if ((action.sa_flags & SA_NODEFER) == 0) {
            sigaddset(&mask, signal);
        }
        pthread_sigmask(SIG_BLOCK, &mask, &before_);
    }
    ~BlockedFor() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    BlockedFor(const BlockedFor&) = delete;
    BlockedFor& operator=(const BlockedFor&) = delete;

  private:
    sigset_t before_{};
};

constexpr struct sigaction kDefault {};

}  // namespace

bool HostAction::IsOurs(const Action& action) const noexcept {
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == ours_.sa_sigaction;
}

void HostAction::Learn(const Action& current) noexcept {
    const Action* known = host_;
    if (installed_) {
        beneath_ = known;
    }
    if (known == nullptr || !Same(*known, current)) {
        Action& slot = kept_[keptCount_++ % kept_.size()];
        slot = current;
        host_ = &slot;
    }
}

void HostAction::Replace(void (*handler)(int, siginfo_t*, void*)) noexcept {
    ours_.sa_sigaction = handler;
    ours_.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;  // a throw leaves nothing blocked
    Action current{};
    sigaction(signal_, &ours_, &current);
    if (!IsOurs(current)) {
        Learn(current);
    } else if (!installed_ && beneath_ != nullptr) {
        host_ = beneath_.load();  // the host took its handler off ours again
    }
    installed_ = true;
}

void HostAction::PutBack() noexcept {
    Action current{};
    sigaction(signal_, host_, &current);
    if (!IsOurs(current)) {
        sigaction(signal_, &current, nullptr);
        Learn(current);
    }
    installed_ = false;
}

const struct sigaction& HostAction::Target(bool calledByHost) const noexcept {
    const Action* beneath = beneath_;
    const bool fromAbove = calledByHost || (!installed_ && beneath != nullptr);
    const Action* target = fromAbove ? beneath : host_.load();
    return target != nullptr ? *target : kDefault;
}

void HostAction::Run(siginfo_t* info, void* context) {
    const HandedOver mark(context);
    const Action& action = Target(mark.calledByHost(context));
    const bool fault = info->si_code > 0;
    if (action.sa_handler == SIG_DFL || (action.sa_handler == SIG_IGN && fault)) {
        TakeDefaultAction(signal_, info);
    } else if (action.sa_handler != SIG_IGN) {
        Call(action, info, context);
    }
}

void HostAction::Call(const Action& action, siginfo_t* info, void* context) {
    if ((action.sa_flags & static_cast<int>(SA_RESETHAND)) != 0) {
        host_ = &kDefault;
    }
    const BlockedFor blocked(action, signal_);
    if ((action.sa_flags & SA_SIGINFO) != 0) {
        action.sa_sigaction(signal_, info, context);
    } else {
        action.sa_handler(signal_);
    }
}

}  // namespace CQXBASE::platform::faults
