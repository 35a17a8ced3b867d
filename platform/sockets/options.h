// Socket options and states that differ between platforms.
#pragma once

#include <ace/Handle_Set.h>
#include <ace/SOCK_Stream.h>

namespace CQXBASE::platform::sockets {

/// A socket's number as log lines print it.
int HandleNumber(ACE_HANDLE handle) noexcept;

/// First probe after `idleMs` of silence, further ones every `intervalMs`. For a socket with
/// keep-alive on.
bool SetKeepAliveTiming(ACE_SOCK_Stream& stream, unsigned idleMs, unsigned intervalMs);

/// Each makes the system move data straight between the wire and the caller's memory, on Windows.
/// Other systems have no such mode and would clamp the size to a few kilobytes, so there they do
/// nothing.
bool ClearSendBuffer(ACE_SOCK_Stream& stream);
bool ClearReceiveBuffer(ACE_SOCK_Stream& stream);

/// Programs that the host starts don't inherit the socket.
void KeepFromChildren(ACE_HANDLE handle) noexcept;

/// Adds a handle to a set, unless its number is beyond what the set has room for.
void AddToSet(ACE_Handle_Set& set, ACE_HANDLE handle);
void RemoveFromSet(ACE_Handle_Set& set, ACE_HANDLE handle);

/// Without waiting: 0 when there is nothing to read from `handle`, 1 when there is something, the
/// peer's end included, -1 on an error. May clear `set`, which holds just that handle.
int ReadyToRead(ACE_Handle_Set& set, ACE_HANDLE handle);

/// True for an error that a read with a time limit of zero leaves on a connection that is just
/// idle.
bool MeansIdle(int error) noexcept;

}  // namespace CQXBASE::platform::sockets
