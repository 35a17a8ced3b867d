#include <csignal>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>
#include <utility>

#include "platform/console/stop_signals.h"

namespace CQXBASE::platform::console {
namespace {

/// Wakes the watching thread.
constexpr int kQuit = SIGUSR2;

sigset_t Watched() noexcept {
    sigset_t set;
    sigemptyset(&set);
    for (const int each : {SIGTERM, SIGINT, SIGHUP, SIGUSR1, kQuit}) {
        sigaddset(&set, each);
    }
    return set;
}

bool HasTerminal() noexcept {
    const int terminal = open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal != -1) {
        close(terminal);
    }
    return terminal != -1;
}

/// Whether nobody has said that the process is to outlive its terminal.
bool EndsWithTerminal() noexcept {
    struct sigaction hangup {};
    return sigaction(SIGHUP, nullptr, &hangup) == 0 && hangup.sa_handler != SIG_IGN &&
           HasTerminal();
}

}  // namespace

StopSignals::StopSignals(std::function<void()> onStop, std::function<void()> onReport)
    : onStop_(std::move(onStop)), onReport_(std::move(onReport)) {
    const sigset_t set = Watched();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    thread_ = std::thread([this] { Watch(); });
}

StopSignals::~StopSignals() {
    quitting_ = true;
    pthread_kill(thread_.native_handle(), kQuit);
    thread_.join();
    const sigset_t set = Watched();
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

void StopSignals::Watch() {
    const sigset_t set = Watched();
    // The system and a shell may both tell of a terminal that closes.
    bool heedsHangup = EndsWithTerminal();
    int signal = 0;
    while (sigwait(&set, &signal) == 0 && !quitting_) {
        if (signal == SIGUSR1) {
            onReport_();
        } else if (signal == SIGTERM || signal == SIGINT || (signal == SIGHUP && heedsHangup)) {
            heedsHangup = false;
            onStop_();
        }
    }
}

void IgnoreBrokenPipes() noexcept {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace CQXBASE::platform::console
