#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <poll.h>

#include "platform/sockets/options.h"

namespace CQXBASE::platform::sockets {
namespace {

bool SetSeconds(ACE_SOCK_Stream& stream, int option, unsigned milliseconds) {
    int seconds = static_cast<int>(std::max(1U, milliseconds / 1000));
    return stream.set_option(IPPROTO_TCP, option, &seconds, sizeof seconds) == 0;
}

bool Fits(ACE_HANDLE handle) {
    return handle >= 0 && handle < ACE_Handle_Set::MAXSIZE;
}

}  // namespace

int HandleNumber(ACE_HANDLE handle) noexcept {
    return handle;
}

bool SetKeepAliveTiming(ACE_SOCK_Stream& stream, unsigned idleMs, unsigned intervalMs) {
    return SetSeconds(stream, TCP_KEEPIDLE, idleMs) &&
           SetSeconds(stream, TCP_KEEPINTVL, intervalMs);
}

bool ClearSendBuffer(ACE_SOCK_Stream& /*stream*/) {
    return true;
}

bool ClearReceiveBuffer(ACE_SOCK_Stream& /*stream*/) {
    return true;
}

void KeepFromChildren(ACE_HANDLE handle) noexcept {
    fcntl(handle, F_SETFD, FD_CLOEXEC);
}

void AddToSet(ACE_Handle_Set& set, ACE_HANDLE handle) {
    if (Fits(handle)) {
        set.set_bit(handle);
    }
}

void RemoveFromSet(ACE_Handle_Set& set, ACE_HANDLE handle) {
    if (Fits(handle)) {
        set.clr_bit(handle);
    }
}

int ReadyToRead(ACE_Handle_Set& /*set*/, ACE_HANDLE handle) {
    // select() holds descriptors below 1,024 only; poll() has no such limit.
    pollfd entry{handle, POLLIN, 0};
    int ready = -1;
    do {
        ready = poll(&entry, 1, 0);
    } while (ready == -1 && errno == EINTR);
    return ready;
}

bool MeansIdle(int error) noexcept {
    return error == 0 || error == ETIME;
}

}  // namespace CQXBASE::platform::sockets
