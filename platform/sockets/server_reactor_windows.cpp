#include <ace/Reactor.h>
#include <ace/Select_Reactor.h>

#include "platform/sockets/server_reactor.h"

namespace CQXBASE::platform::sockets {

std::unique_ptr<ACE_Reactor> MakeServerReactor(std::size_t handles) {
    const std::size_t bounded = handles < RaiseHandleLimit() ? handles : RaiseHandleLimit();
    auto selecting = std::make_unique<ACE_Select_Reactor>(bounded);
    if (!selecting->initialized()) {
        return nullptr;
    }
    constexpr bool kOwnsImplementation = true;
    return std::make_unique<ACE_Reactor>(selecting.release(), kOwnsImplementation);
}

std::size_t RaiseHandleLimit() noexcept {
    return FD_SETSIZE;
}

}  // namespace CQXBASE::platform::sockets
