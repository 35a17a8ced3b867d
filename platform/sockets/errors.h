// Socket error numbers: one numbering for callers, the platform's own texts.
#pragma once

#include <string>

namespace CQXBASE::platform::sockets {

// Winsock numbers that the transport and the server treat in a way of their own.
constexpr int kInterrupted = 10004;
constexpr int kInvalidArgument = 10022;
constexpr int kTooManyHandles = 10024;
constexpr int kWouldBlock = 10035;
constexpr int kNoBuffers = 10055;
constexpr int kConnectionReset = 10054;
constexpr int kTimedOut = 10060;
constexpr int kConnectionRefused = 10061;

/// `error`, an errno as ACE leaves it, in Winsock numbering. A send to a closed peer counts as a
/// reset, a wait that ran out as timed out, a failed name lookup as its resolver number. Errors
/// that are not of the socket layer, and 0, keep their number.
int WinsockNumber(int error) noexcept;

/// The platform's text for `error`, in the ANSI code page; "" when it has none.
std::string SocketErrorText(int error);

/// Sets errno and the system's last error to 0.
void ClearLastError() noexcept;
/// errno; when that is 0, the system's last error.
int LastError() noexcept;

/// Each sets errno to the platform's number for what it names.
void SetNotConnected() noexcept;
void SetTimedOut() noexcept;
void SetStaleSocket() noexcept;

}  // namespace CQXBASE::platform::sockets
