#include <cerrno>

#include <ace/OS_NS_errno.h>
#include <ace/OS_NS_string.h>

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

std::string SocketErrorText(int error) {
    const char* text = ACE_OS::strerror(WinsockNumber(error));
    return text == nullptr ? std::string() : std::string(text);
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
