// The server's own error numbers. A failed statement carries the database's number and text
// instead.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <stdexcept>
#include <string>

namespace CQXSERVER {

/// All are negative, so that they never look like a socket's or a database's number.
enum class ServerError : std::int32_t {
    None = 0,
    NotLoggedIn = -6001,        ///< the request needs a login first
    WrongLogin = -6002,         ///< unknown user or wrong password
    MalformedLogin = -6003,     ///< not "user|~|password" or "user|~|password|~|database"
    TooManyFailures = -6004,    ///< wrong passwords in a row; wait
    UnknownToken = -6005,       ///< forged, ended, or from before a restart
    SessionExpired = -6006,     ///< unused or open for too long
    AccountChanged = -6007,     ///< removed, or has a new password, since the login
    UnknownDatabase = -6010,    ///< no configured database has this name
    ForbiddenDatabase = -6011,  ///< the account may not use this database
    FrameTooLarge =
        -6020,  ///< the request is over the limit; if its body is, the connection closes
    UndecodableBody = -6021,     ///< the body is not what the request code promises
    UndecipherableBody = -6022,  ///< the body is no ciphertext of this protocol's key
    UnknownRequest = -6023,      ///< no request has this code
    NotSupported = -6024,        ///< a known request that this server does not serve
    ResultTooLarge = -6030,      ///< the rows are over the limit; page or narrow the query
    TooManyConnections = -6031,  ///< the connection closes
    TooManySessions = -6032,
    OutOfBuffers = -6033,    ///< all connections together hold too much; try again
    TooManyWaiting = -6034,  ///< this address has too many logins under way; try again
    TlsRequired = -6035,     ///< this server serves requests over TLS only; the connection closes
    TooManyTransactions = -6036,  ///< begun and not ended, by this account or by all
    Internal = -6099,             ///< a fault of the server; its log says more
};

/// The sentence for people that goes with a number.
const wchar_t* Text(ServerError error) noexcept;

/// The same sentence in UTF-8.
std::ostream& operator<<(std::ostream& out, ServerError error);

/// The number as records carry it: the same 32 bits without a sign.
constexpr std::uint32_t WireCode(ServerError error) noexcept {
    return static_cast<std::uint32_t>(static_cast<std::int32_t>(error));
}

/// Ends the request it is thrown in; the client gets the number and its text.
class RequestRefused : public std::exception {
  public:
    explicit RequestRefused(ServerError error) noexcept : error_(error) {}
    ServerError Error() const noexcept { return error_; }
    const char* what() const noexcept override { return "request refused"; }

  private:
    ServerError error_;
};

/// The server can't start or an operator's command can't be done; what() is a sentence for people.
class OperatorError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace CQXSERVER
