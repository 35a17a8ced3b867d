#include <cerrno>
#include <cstdint>
#include <winsock2.h>
#include <mstcpip.h>

#include <ace/ACE.h>
#include <ace/Time_Value.h>

#include "platform/sockets/options.h"

namespace CQXBASE::platform::sockets {
namespace {

SOCKET SocketOf(ACE_HANDLE handle) noexcept {
    return reinterpret_cast<SOCKET>(handle);
}

bool SetBufferToZero(ACE_SOCK_Stream& stream, int option) {
    int size = 0;
    return stream.set_option(SOL_SOCKET, option, &size, sizeof size) == 0;
}

}  // namespace

int HandleNumber(ACE_HANDLE handle) noexcept {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(handle));
}

bool SetKeepAliveTiming(ACE_SOCK_Stream& stream, unsigned idleMs, unsigned intervalMs) {
    tcp_keepalive timing{1, idleMs, intervalMs};
    DWORD returned = 0;
    return WSAIoctl(SocketOf(stream.get_handle()), SIO_KEEPALIVE_VALS, &timing, sizeof timing,
                    nullptr, 0, &returned, nullptr, nullptr) == 0;
}

bool ClearSendBuffer(ACE_SOCK_Stream& stream) {
    return SetBufferToZero(stream, SO_SNDBUF);
}

bool ClearReceiveBuffer(ACE_SOCK_Stream& stream) {
    return SetBufferToZero(stream, SO_RCVBUF);
}

void KeepFromChildren(ACE_HANDLE handle) noexcept {
    SetHandleInformation(handle, HANDLE_FLAG_INHERIT, 0);
}

void AddToSet(ACE_Handle_Set& set, ACE_HANDLE handle) {
    set.set_bit(handle);
}

void RemoveFromSet(ACE_Handle_Set& set, ACE_HANDLE handle) {
    set.clr_bit(handle);
}

int ReadyToRead(ACE_Handle_Set& set, ACE_HANDLE /*handle*/) {
    const ACE_Time_Value atOnce = ACE_Time_Value::zero;
    return ACE::select(static_cast<int>(reinterpret_cast<std::intptr_t>(set.max_set())) + 1, &set,
                       nullptr, nullptr, &atOnce);
}

bool MeansIdle(int error) noexcept {
    return error == 0 || error == ERROR_SEM_TIMEOUT || error == ETIME;
}

}  // namespace CQXBASE::platform::sockets
