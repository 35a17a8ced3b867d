#include "proxy/socket_io.h"

#include <cstddef>

#include "platform/sockets/handshake.h"

namespace CQXBASE {

bool SendAll(ACE_HANDLE socket, const void* bytes, int length) {
    const auto* next = static_cast<const char*>(bytes);
    while (length > 0) {
        const auto sent =
            platform::sockets::SendSome(socket, next, static_cast<std::size_t>(length));
        if (sent <= 0) {
            return false;
        }
        next += sent;
        length -= static_cast<int>(sent);
    }
    return true;
}

void RecvOnce(ACE_HANDLE socket, void* buffer, int capacity) {
    if (capacity > 0) {
        platform::sockets::RecvSome(socket, static_cast<char*>(buffer),
                                    static_cast<std::size_t>(capacity), kReceiveTimeoutMs);
    }
}

}  // namespace CQXBASE
