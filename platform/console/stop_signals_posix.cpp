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

/// Whether the process's starter has said that it is to outlive its terminal.
bool OutlivesTerminal() noexcept {
    struct sigaction hangup {};
    return sigaction(SIGHUP, nullptr, &hangup) == 0 && hangup.sa_handler == SIG_IGN;
}

/// Tells the SIGHUPs of a closing terminal from those that ask to reload, which may also come when
/// the terminal has long been gone.
class Terminal {
  public:
    bool TellsOfItsEnd(const siginfo_t& hangup) const noexcept {
        const bool fromKernel = hangup.si_code > 0;
        // A shell hands it on to what it has started, after the terminal is gone.
        const bool fromShell = hangup.si_pid == starter_ || hangup.si_pid == getsid(0);
        return had_ && (fromKernel || (fromShell && !HasTerminal()));
    }

  private:
    const bool had_ = HasTerminal();
    const pid_t starter_ = getppid();
};

}  // namespace

StopSignals::StopSignals(std::function<void()> onStop, std::function<void()> onReport,
                         std::function<void()> onReload)
    : onStop_(std::move(onStop)), onReport_(std::move(onReport)), onReload_(std::move(onReload)) {
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
    const Terminal terminal;
    // The system and a shell may both tell of a terminal that closes.
    bool endsWithTerminal = !OutlivesTerminal();
    siginfo_t signal{};
    while (!quitting_) {
        const int number = sigwaitinfo(&set, &signal);
        if (number == -1 || quitting_) {
            continue;
        }
        const bool ends = number == SIGHUP && endsWithTerminal && terminal.TellsOfItsEnd(signal);
        if (number == SIGUSR1) {
            onReport_();
        } else if (number == SIGTERM || number == SIGINT || ends) {
            endsWithTerminal = false;
            onStop_();
        } else if (number == SIGHUP) {
            // Also for a terminal that is outlived: somebody's wish may have merged with its
            // SIGHUP.
            onReload_();
        }
    }
}

void IgnoreBrokenPipes() noexcept {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace CQXBASE::platform::console
