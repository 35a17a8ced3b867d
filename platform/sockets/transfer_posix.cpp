#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <vector>

#include "platform/sockets/transfer.h"

namespace CQXBASE::platform::sockets {
namespace {

/// What is left of a gathered write.
class Gathered {
  public:
    Gathered(const iovec* parts, int count) : parts_(parts, parts + count) { Advance(0); }

    bool Done() const { return first_ == parts_.size(); }

    /// One write of all that is left; the result of sendmsg.
    ssize_t WriteTo(int socket, int flags) {
        msghdr message{};
        message.msg_iov = parts_.data() + first_;
        message.msg_iovlen = parts_.size() - first_;
        return sendmsg(socket, &message, flags);
    }

    void Advance(std::size_t sent) {
        while (!Done() && sent >= parts_[first_].iov_len) {
            sent -= parts_[first_++].iov_len;
        }
        if (!Done()) {
            parts_[first_].iov_base = static_cast<char*>(parts_[first_].iov_base) + sent;
            parts_[first_].iov_len -= sent;
        }
    }

  private:
    std::vector<iovec> parts_;
    std::size_t first_ = 0;
};

/// Waits for `events`; false with ETIME when `timeoutMs` passes first.
bool WaitFor(int socket, short events, int timeoutMs) {
    pollfd entry{socket, events, 0};
    int ready = -1;
    do {
        ready = poll(&entry, 1, timeoutMs);
    } while (ready == -1 && errno == EINTR);
    if (ready == 0) {
        errno = ETIME;
    }
    return ready > 0;
}

bool IsBlocking(int socket) {
    return (fcntl(socket, F_GETFL) & O_NONBLOCK) == 0;
}

/// After a call on `socket` failed: true when it is to be repeated.
bool Retry(int socket, short events, int timeoutMs) {
    if (errno == EINTR) {
        return true;
    }
    if (errno != EAGAIN && errno != EWOULDBLOCK) {
        return false;
    }
    // Without a time-out of ours, "would block" on a blocking socket is the socket's own running
    // out.
    if (timeoutMs == kNoTimeout && IsBlocking(socket)) {
        errno = ETIMEDOUT;
        return false;
    }
    return WaitFor(socket, events, timeoutMs);
}

}  // namespace

bool SendParts(ACE_SOCK_Stream& stream, const iovec* parts, int count, int timeoutMs) {
    const int socket = stream.get_handle();
    const int flags = timeoutMs == kNoTimeout ? MSG_NOSIGNAL : MSG_NOSIGNAL | MSG_DONTWAIT;
    Gathered gathered(parts, count);
    while (!gathered.Done()) {
        const ssize_t sent = gathered.WriteTo(socket, flags);
        if (sent >= 0) {
            gathered.Advance(static_cast<std::size_t>(sent));
        } else if (!Retry(socket, POLLOUT, timeoutMs)) {
            return false;
        }
    }
    return true;
}

std::ptrdiff_t ReceiveSome(ACE_SOCK_Stream& stream, char* bytes, std::size_t count) {
    const int socket = stream.get_handle();
    ssize_t received = -1;
    do {
        received = recv(socket, bytes, count, 0);
    } while (received == -1 && Retry(socket, POLLIN, kNoTimeout));
    return received;
}

bool ReceiveExactly(ACE_SOCK_Stream& stream, char* bytes, std::size_t count) {
    while (count > 0) {
        const std::ptrdiff_t received = ReceiveSome(stream, bytes, count);
        if (received <= 0) {
            errno = received == 0 ? 0 : errno;
            return false;
        }
        bytes += received;
        count -= static_cast<std::size_t>(received);
    }
    return true;
}

bool ReadyAfter(unsigned long error, ACE_HANDLE socket, Direction direction) {
    return (error == EAGAIN || error == EWOULDBLOCK) &&
           WaitFor(socket, direction == Direction::Read ? POLLIN : POLLOUT, kNoTimeout);
}

}  // namespace CQXBASE::platform::sockets
