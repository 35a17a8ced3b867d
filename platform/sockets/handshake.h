// What a blocking handshake on a connected socket needs of the platform.
#pragma once

#include <cstddef>

#include <ace/config-all.h>

namespace CQXBASE::platform::sockets {

/// From now on a read on the socket that meets silence for that long fails.
void SetReceiveTimeout(ACE_HANDLE socket, unsigned milliseconds) noexcept;

/// One send. A closed peer is an error, never a signal. Returns the bytes taken, or -1.
std::ptrdiff_t SendSome(ACE_HANDLE socket, const char* bytes, std::size_t count) noexcept;

/// One receive on a socket whose receive time-out is `timeoutMs`; a signal handled meanwhile does
/// not end it. Returns the bytes received, 0 at the peer's end, or -1.
std::ptrdiff_t RecvSome(ACE_HANDLE socket, char* buffer, std::size_t capacity,
                        unsigned timeoutMs) noexcept;

}  // namespace CQXBASE::platform::sockets
