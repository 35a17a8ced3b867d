// What the server has done so far.
#pragma once

#include <atomic>
#include <cstdint>

namespace CQXSERVER::operation {

/// Written by the reactor's thread, read by any.
struct ServerStats {
    std::atomic<std::uint64_t> accepted{0};
    std::atomic<std::uint64_t> refused{0};    ///< connections over the limit
    std::atomic<std::uint64_t> displaced{0};  ///< idle ones before a login that made room
    std::atomic<std::uint64_t> open{0};       ///< connections at the moment
    std::atomic<std::uint64_t> requests{0};
    std::atomic<std::uint64_t> running{0};   ///< requests at the moment
    std::atomic<std::uint64_t> timedOut{0};  ///< connections closed for silence or slowness
    std::atomic<std::uint64_t> stalled{0};   ///< those closed since others needed their buffers
    std::atomic<std::uint64_t> failedHandshakes{0};  ///< of TLS
};

}  // namespace CQXSERVER::operation
