#include <csignal>
#include <pthread.h>
#include <utility>

#include "platform/console/stop_signals.h"

namespace CQXBASE::platform::console {
namespace {

/// Ends the watching thread; sent to that thread alone.
constexpr int kQuit = SIGUSR2;

sigset_t Watched() noexcept {
    sigset_t set;
    sigemptyset(&set);
    for (const int each : {SIGTERM, SIGINT, SIGUSR1, kQuit}) {
        sigaddset(&set, each);
    }
    return set;
}

}  // namespace

StopSignals::StopSignals(std::function<void()> onStop, std::function<void()> onReport)
    : onStop_(std::move(onStop)), onReport_(std::move(onReport)) {
    const sigset_t set = Watched();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    thread_ = std::thread([this] { Watch(); });
}

StopSignals::~StopSignals() {
    pthread_kill(thread_.native_handle(), kQuit);
    thread_.join();
    const sigset_t set = Watched();
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

void StopSignals::Watch() {
    const sigset_t set = Watched();
    int signal = 0;
    while (sigwait(&set, &signal) == 0 && signal != kQuit) {
        if (signal == SIGUSR1) {
            onReport_();
        } else {
            onStop_();
        }
    }
}

void IgnoreBrokenPipes() noexcept {
    std::signal(SIGPIPE, SIG_IGN);
}

}  // namespace CQXBASE::platform::console
