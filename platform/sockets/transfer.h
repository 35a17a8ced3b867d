// Whole-buffer transfers on a connected stream. A closed peer is an error, never a signal.
#pragma once

#include <cstddef>

#include <ace/SOCK_Stream.h>
#include <ace/os_include/sys/os_uio.h>

namespace CQXBASE::platform::sockets {

constexpr int kNoTimeout = -1;

/// Writes the `count` parts in order, as one gathered write that is continued while the socket
/// takes only a piece. `timeoutMs` bounds each wait for room. False leaves the reason in errno.
bool SendParts(ACE_SOCK_Stream& stream, const iovec* parts, int count, int timeoutMs);

/// Reads exactly `count` bytes. False leaves the reason in errno: 0 when the peer has closed, a
/// time-out when the socket's receive time-out passed in silence.
bool ReceiveExactly(ACE_SOCK_Stream& stream, char* bytes, std::size_t count);

/// One receive of at most `count` bytes, as ReceiveExactly otherwise: 0 when the peer has closed,
/// -1 with the reason in errno.
std::ptrdiff_t ReceiveSome(ACE_SOCK_Stream& stream, char* bytes, std::size_t count);

enum class Direction { Read, Write };

/// After an overlapped transfer that failed with `error`: true when all that failed is that the
/// socket wasn't ready, be it within its own time-out or at once because it doesn't block. The
/// socket is ready then, however long that took, and the transfer can be made again.
bool ReadyAfter(unsigned long error, ACE_HANDLE socket, Direction direction);

}  // namespace CQXBASE::platform::sockets
