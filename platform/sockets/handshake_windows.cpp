#include <ace/OS_NS_sys_socket.h>

#include "platform/sockets/handshake.h"

namespace CQXBASE::platform::sockets {

void SetReceiveTimeout(ACE_HANDLE socket, unsigned milliseconds) noexcept {
    const DWORD value = milliseconds;
    ACE_OS::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&value),
                       static_cast<int>(sizeof value));
}

std::ptrdiff_t SendSome(ACE_HANDLE socket, const char* bytes, std::size_t count) noexcept {
    return ACE_OS::send(socket, bytes, count, 0);
}

std::ptrdiff_t RecvSome(ACE_HANDLE socket, char* buffer, std::size_t capacity,
                        unsigned /*timeoutMs*/) noexcept {
    return ACE_OS::recv(socket, buffer, capacity, 0);
}

}  // namespace CQXBASE::platform::sockets
