#include "platform/faults/signals_posix.h"

#include <atomic>
#include <mutex>
#include <pthread.h>
#include <sched.h>

#include "platform/faults/host_action_posix.h"
#include "platform/faults/thread_posix.h"

namespace CQXBASE::platform::faults {
namespace {

HostAction gHostActions[] = {HostAction(SIGSEGV), HostAction(SIGBUS), HostAction(SIGFPE),
                             HostAction(SIGILL), HostAction(SIGTRAP)};

std::mutex gMutex;            // guards taking and returning
unsigned gThreadsInside = 0;  // under gMutex
std::atomic<bool> gTaking{false};

void ForkedChild() {
    gThreadsInside = CurrentThread().innermost != nullptr ? 1 : 0;
    gMutex.unlock();
}

// A child forked while another thread holds the lock must find it free.
void SurviveFork() {
    static const int registered =
        pthread_atfork([] { gMutex.lock(); }, [] { gMutex.unlock(); }, ForkedChild);
    static_cast<void>(registered);
}

/// Marks the time in which our handler may run before the host's one is known.
class Taking {
  public:
    Taking() {
        CurrentThread().taking = true;
        gTaking = true;
    }
    ~Taking() {
        gTaking = false;
        CurrentThread().taking = false;
    }
    Taking(const Taking&) = delete;
    Taking& operator=(const Taking&) = delete;

    static void AwaitEnd() {
        while (gTaking && !CurrentThread().taking) {
            sched_yield();
        }
    }
};

void Unblock() {
    sigset_t faults;
    sigset_t before;
    sigemptyset(&faults);
    for (const HostAction& each : gHostActions) {
        sigaddset(&faults, each.signal());
    }
    pthread_sigmask(SIG_UNBLOCK, &faults, &before);
    CurrentThread().anyBlocked = false;
    sigemptyset(&CurrentThread().blocked);
    for (const HostAction& each : gHostActions) {
        if (sigismember(&before, each.signal()) == 1) {
            sigaddset(&CurrentThread().blocked, each.signal());
            CurrentThread().anyBlocked = true;
        }
    }
}

void BlockAgain() {
    if (CurrentThread().anyBlocked) {
        pthread_sigmask(SIG_BLOCK, &CurrentThread().blocked, nullptr);
    }
}

}  // namespace

void TakeSignals(SignalHandler handler) noexcept {
    SurviveFork();
    {
        const std::lock_guard<std::mutex> lock(gMutex);
        const Taking taking;
        ++gThreadsInside;
        for (HostAction& each : gHostActions) {
            each.Replace(handler);
        }
    }
    Unblock();
}

void ReturnSignals() noexcept {
    BlockAgain();
    const std::lock_guard<std::mutex> lock(gMutex);
    if (--gThreadsInside == 0) {
        for (HostAction& each : gHostActions) {
            each.PutBack();
        }
    }
}

void GiveToHost(int signal, siginfo_t* info, void* context) {
    Taking::AwaitEnd();
    for (HostAction& each : gHostActions) {
        if (each.signal() == signal) {
            each.Run(info, context);
        }
    }
}

}  // namespace CQXBASE::platform::faults
