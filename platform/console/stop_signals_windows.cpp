#include <atomic>
#include <utility>
#include <windows.h>

#include "platform/console/stop_signals.h"

namespace CQXBASE::platform::console {
namespace {

std::atomic<HANDLE> stopEvent{nullptr};

// Windows calls this on a thread that it makes for the purpose.
BOOL WINAPI OnControl(DWORD) {
    SetEvent(stopEvent.load());
    return TRUE;
}

}  // namespace

StopSignals::StopSignals(std::function<void()> onStop, std::function<void()> onReport,
                         std::function<void()> onReload)
    : onStop_(std::move(onStop)), onReport_(std::move(onReport)), onReload_(std::move(onReload)) {
    stopEvent = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    SetConsoleCtrlHandler(OnControl, TRUE);
    thread_ = std::thread([this] { Watch(); });
}

StopSignals::~StopSignals() {
    SetConsoleCtrlHandler(OnControl, FALSE);
    quitting_ = true;
    SetEvent(stopEvent.load());
    thread_.join();
    CloseHandle(stopEvent.exchange(nullptr));
}

void StopSignals::Watch() {
    while (WaitForSingleObject(stopEvent.load(), INFINITE) == WAIT_OBJECT_0 && !quitting_) {
        onStop_();
    }
}

void IgnoreBrokenPipes() noexcept {}

}  // namespace CQXBASE::platform::console
