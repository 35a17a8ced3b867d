#include <cerrno>
#include <cstring>

#include <ace/ACE.h>
#include <ace/OS_NS_errno.h>

#include "platform/sockets/errors.h"

namespace CQXBASE::platform::sockets {

// Winsock's own number comes from a plain call. The runtime has other ones for what ACE finds wrong
// before it asks Winsock, and the system for what ends an overlapped operation.
int WinsockNumber(int error) noexcept {
    switch (error) {
        case EBADF:
        case ERROR_INVALID_HANDLE:
            return WSAENOTSOCK;
        case EINVAL:
            return WSAEINVAL;
        case EMFILE:
            return WSAEMFILE;
        case EPIPE:
        case ERROR_NETNAME_DELETED:
            return WSAECONNRESET;
        case ERROR_CONNECTION_ABORTED:
            return WSAECONNABORTED;
        case ERROR_CONNECTION_REFUSED:
            return WSAECONNREFUSED;
        case ETIME:
        case ERROR_SEM_TIMEOUT:
            return WSAETIMEDOUT;
        default:
            return error;
    }
}

// ACE_OS::strerror hands out memory that all threads share.
std::string SocketErrorText(int error) {
    const int number = WinsockNumber(error);
    if (ACE::is_sock_error(number)) {
        return ACE_TEXT_ALWAYS_CHAR(ACE::sock_error(number));
    }
    char text[128] = {};
    return strerror_s(text, sizeof text, number) == 0 ? text : "";
}

void ClearLastError() noexcept {
    ACE_OS::last_error(0);
    errno = 0;
}

int LastError() noexcept {
    return errno != 0 ? errno : ACE_OS::last_error();
}

void SetNotConnected() noexcept {
    errno = WSAENOTCONN;
}

void SetTimedOut() noexcept {
    errno = WSAETIMEDOUT;
}

void SetStaleSocket() noexcept {
    errno = WSAENOTSOCK;
}

}  // namespace CQXBASE::platform::sockets
