#include "server/server_error.h"

#include <ostream>

#include "util/text.h"

namespace CQXSERVER {

const wchar_t* Text(ServerError error) noexcept {
    switch (error) {
        case ServerError::None:
            return L"";
        case ServerError::NotLoggedIn:
            return L"not logged in: log in first";
        case ServerError::WrongLogin:
            return L"wrong user name or password";
        case ServerError::MalformedLogin:
            return L"malformed login: expected user|~|password or user|~|password|~|database";
        case ServerError::TooManyFailures:
            return L"too many wrong passwords: wait a few seconds and try again";
        case ServerError::UnknownToken:
            return L"unknown session token: log in again";
        case ServerError::SessionExpired:
            return L"the session has expired: log in again";
        case ServerError::AccountChanged:
            return L"the account was changed since the login: log in again";
        case ServerError::UnknownDatabase:
            return L"the server has no database of this name";
        case ServerError::ForbiddenDatabase:
            return L"this account may not use this database";
        case ServerError::FrameTooLarge:
            return L"the request is larger than the server allows";
        case ServerError::UndecodableBody:
            return L"the request can't be decoded";
        case ServerError::UndecipherableBody:
            return L"the request can't be deciphered";
        case ServerError::UnknownRequest:
            return L"unknown request code";
        case ServerError::NotSupported:
            return L"this request is not supported by this server";
        case ServerError::ResultTooLarge:
            return L"the result is larger than the server allows: use pages or a narrower query";
        case ServerError::TooManyConnections:
            return L"the server has as many connections as it allows: try again later";
        case ServerError::TooManySessions:
            return L"the server has as many sessions as it allows: try again later";
        case ServerError::OutOfBuffers:
            return L"the server's request buffers are full: try again";
        case ServerError::TooManyWaiting:
            return L"too many logins of this address are under way: try again";
        case ServerError::TlsRequired:
            return L"this server serves requests over TLS only: switch TLS on";
        case ServerError::TooManyTransactions:
            return L"too many transactions are under way: end one, or try again later";
        case ServerError::Internal:
            break;
    }
    return L"internal server error: see the server's log";
}

std::ostream& operator<<(std::ostream& out, ServerError error) {
    return out << CQXBASE::WideToUtf8(Text(error));
}

}  // namespace CQXSERVER
