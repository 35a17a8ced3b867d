// What a run of the soak is like.
#pragma once

#include <cstdint>
#include <string>

namespace qxdb_soak {

struct Plan {
    std::string program;  ///< this one, for the client processes
    std::string server;   ///< qxdbserver
    std::string database = "sqlite";
    int seconds = 300;
    int kills = 20;   ///< of the server; as often the database, a third of the clients and the
                      ///< proxies go too
    int busy = 64;    ///< client processes that work
    int idle = 1000;  ///< sessions that only stay
    std::uint32_t seed = 1;
    long sessions = 0;  ///< when not 0: count what so many sessions leave in the server instead
};

/// Sessions of one idle client process.
constexpr int kIdleInOne = 125;

}  // namespace qxdb_soak
