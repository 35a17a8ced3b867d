#include <cerrno>
#include <vector>

#include <ace/Time_Value.h>

#include "platform/sockets/transfer.h"

namespace CQXBASE::platform::sockets {

bool SendParts(ACE_SOCK_Stream& stream, const iovec* parts, int count, int timeoutMs) {
    std::vector<iovec> pieces(parts, parts + count);  // ACE moves them on while it writes
    const ACE_Time_Value limit(timeoutMs / 1000, timeoutMs % 1000 * 1000);
    return stream.sendv_n(pieces.data(), count, timeoutMs == kNoTimeout ? nullptr : &limit) != -1;
}

bool ReceiveExactly(ACE_SOCK_Stream& stream, char* bytes, std::size_t count) {
    const ssize_t received = stream.recv_n(bytes, count);
    if (received == 0) {
        errno = 0;
    }
    return received == static_cast<ssize_t>(count);
}

std::ptrdiff_t ReceiveSome(ACE_SOCK_Stream& stream, char* bytes, std::size_t count) {
    return stream.recv(bytes, count);
}

bool ReadyAfter(unsigned long /*error*/, ACE_HANDLE /*socket*/, Direction /*direction*/) {
    return false;  // overlapped transfers heed neither a time-out of the socket nor its mode
}

}  // namespace CQXBASE::platform::sockets
