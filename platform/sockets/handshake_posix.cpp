#include <cerrno>
#include <chrono>
#include <sys/socket.h>
#include <sys/time.h>

#include "platform/sockets/handshake.h"

namespace CQXBASE::platform::sockets {

void SetReceiveTimeout(ACE_HANDLE socket, unsigned milliseconds) noexcept {
    timeval value{};
    value.tv_sec = static_cast<time_t>(milliseconds / 1000);
    value.tv_usec = static_cast<suseconds_t>(milliseconds % 1000 * 1000);
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &value, sizeof value);
}

std::ptrdiff_t SendSome(ACE_HANDLE socket, const char* bytes, std::size_t count) noexcept {
    std::ptrdiff_t sent = -1;
    do {
        sent = send(socket, bytes, count, MSG_NOSIGNAL);
    } while (sent == -1 && errno == EINTR);
    return sent;
}

std::ptrdiff_t RecvSome(ACE_HANDLE socket, char* buffer, std::size_t capacity,
                        unsigned timeoutMs) noexcept {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    std::ptrdiff_t received = -1;
    do {
        received = recv(socket, buffer, capacity, 0);
    } while (received == -1 && errno == EINTR && Clock::now() < deadline);
    return received;
}

}  // namespace CQXBASE::platform::sockets
