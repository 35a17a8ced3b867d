#include <cerrno>

#include <ace/OS_NS_errno.h>
#include <ace/OS_NS_string.h>

#include "platform/socket_errors.h"

namespace CQXBASE::platform {

// The runtime has numbers of its own for what ACE finds wrong before it asks Winsock.
int WinsockNumber(int error) noexcept {
    switch (error) {
        case ETIME:
            return WSAETIMEDOUT;
        case EINVAL:
            return WSAEINVAL;
        case EBADF:
            return WSAENOTSOCK;
        case EMFILE:
            return WSAEMFILE;
        case EPIPE:
            return WSAECONNRESET;
        default:
            return error;
    }
}

std::string SocketErrorText(int error) {
    const char* text = ACE_OS::strerror(error);
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

void SetStaleSocket() noexcept {
    errno = WSAENOTSOCK;
}

}  // namespace CQXBASE::platform
