// What an operating system tells a long-running program: stop, report, or read its files again.
#pragma once

#include <atomic>
#include <functional>
#include <thread>

namespace CQXBASE::platform::console {

/// Calls back from a thread of its own, so the callbacks may do anything that a thread may. SIGTERM
/// and SIGINT ask to stop, SIGUSR1 to report, SIGHUP to reload; on Windows Ctrl-C, Ctrl-Break and a
/// closed console ask to stop, and nothing asks for the others. The SIGHUP of a terminal that
/// closes asks to stop, at most once, when it is the process's; it asks to reload when the starter
/// of the process had SIGHUP ignored. Make it before any other thread of the process starts, since
/// they inherit that the signals are not delivered to them; one object a process at a time.
class StopSignals {
  public:
    StopSignals(
        std::function<void()> onStop, std::function<void()> onReport,
        std::function<void()> onReload = [] {});
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

  private:
    void Watch();

    std::function<void()> onStop_;
    std::function<void()> onReport_;
    std::function<void()> onReload_;
    std::atomic<bool> quitting_{false};
    std::thread thread_;
};

/// Lets a send to a closed peer, and a write beyond the limit of a file's size, fail with an error
/// number instead of ending the process. For programs; a library has no say in its host's signals.
void IgnoreBrokenPipes() noexcept;

}  // namespace CQXBASE::platform::console
