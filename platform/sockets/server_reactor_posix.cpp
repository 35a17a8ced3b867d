#include <sys/resource.h>

#include <ace/ACE.h>
#include <ace/Dev_Poll_Reactor.h>
#include <ace/Reactor.h>

#include "platform/sockets/server_reactor.h"

namespace CQXBASE::platform::sockets {

std::unique_ptr<ACE_Reactor> MakeServerReactor(std::size_t handles) {
    constexpr bool kRestartAfterSignal = true;
    auto polling = std::make_unique<ACE_Dev_Poll_Reactor>(handles, kRestartAfterSignal);
    if (!polling->initialized()) {
        return nullptr;
    }
    constexpr bool kOwnsImplementation = true;
    return std::make_unique<ACE_Reactor>(polling.release(), kOwnsImplementation);
}

std::size_t RaiseHandleLimit() noexcept {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return 256;
    }
    const rlimit raised{limit.rlim_max, limit.rlim_max};
    return setrlimit(RLIMIT_NOFILE, &raised) == 0 ? limit.rlim_max : limit.rlim_cur;
}

}  // namespace CQXBASE::platform::sockets
