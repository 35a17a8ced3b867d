// The client processes. Each runs until a file "stop" appears in its folder, or it is killed.
#pragma once

#include <cstdint>
#include <string>

namespace qxdb_soak {

struct ClientTask {
    std::string folder;      ///< ledgers, "stop", and "http" and "socks5" with the proxies' ports
    int client = 0;          ///< its number, kept by its successors
    int life = 0;            ///< how many have had the number before
    std::uint16_t port = 0;  ///< the server's
};

/// Inserts, queries and looks whether what was acknowledged is there. Every fourth client goes
/// through the HTTP proxy, every fourth through the SOCKS5 proxy.
void WorkUntilStopped(const ClientTask& task);
/// Keeps `sessions` sessions open with a handshake now and then.
void IdleUntilStopped(const ClientTask& task, int sessions);

}  // namespace qxdb_soak
