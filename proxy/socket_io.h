// The two socket calls of a handshake.
#pragma once

#include <ace/config-all.h>

namespace CQXBASE {

/// Silence of a proxy that ends the wait for its answer.
constexpr unsigned kReceiveTimeoutMs = 5000;

/// Sends all `length` bytes; false at the first error. Raises no signal on a closed peer.
bool SendAll(ACE_HANDLE socket, const void* bytes, int length);

/// One receive of at most `capacity` bytes. Silence or an error leaves the buffer as it was.
void RecvOnce(ACE_HANDLE socket, void* buffer, int capacity);

}  // namespace CQXBASE
