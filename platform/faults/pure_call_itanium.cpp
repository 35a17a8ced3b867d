#include <atomic>
#include <cstdio>
#include <exception>

#include "platform/faults/hooks.h"

namespace CQXBASE::platform::faults {
namespace {

std::atomic<PureCallHandler> gHandler{nullptr};

void OnPureCall() {
    const PureCallHandler handler = gHandler;
    if (handler != nullptr && InFaultRegion()) {
        handler();
    }
    std::fputs("pure virtual method called\n", stderr);
    std::terminate();
}

}  // namespace

void SetPureCallHandler(PureCallHandler handler) noexcept {
    gHandler = handler;
}

}  // namespace CQXBASE::platform::faults

// The entry of pure functions in the tables of virtual functions that are linked with this file.
// Not exported, so that the host and its other libraries keep the runtime's own one.
extern "C" void __cxa_pure_virtual() {  // NOLINT(bugprone-reserved-identifier)
    CQXBASE::platform::faults::OnPureCall();
}
