// Whose TLS handshake goes on next.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>

#include "server/network/request.h"

namespace CQXSERVER::network {

/// A handshake costs the thread of all connections more than anything else that a stranger can ask
/// for, so they wait here for the time that is left to them; addresses take turns.
class HandshakeQueue {
  public:
    void Add(const std::string& address, ConnectionId id);
    /// The next one; it may be closed by now.
    std::optional<ConnectionId> Next();
    bool Empty() const noexcept { return waiting_.empty(); }

  private:
    std::map<std::string, std::deque<ConnectionId>> waiting_;  ///< by address, none of them empty
    std::string last_;  ///< the address that had its turn last
};

}  // namespace CQXSERVER::network
