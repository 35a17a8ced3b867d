#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include <ace/OS_NS_arpa_inet.h>

#include "proxy/proxy_handshake.h"
#include "proxy/socket_io.h"

namespace CQXBASE {
namespace {

using Buffer = std::array<unsigned char, 512>;

constexpr unsigned char kConnect = 1;

/// The proxy's answer, zeroes behind it.
Buffer Receive(ACE_HANDLE socket) {
    Buffer answer{};
    RecvOnce(socket, answer.data(), static_cast<int>(answer.size()));
    return answer;
}

Buffer Exchange(ACE_HANDLE socket, const Buffer& request, std::size_t length) {
    SendAll(socket, request.data(), static_cast<int>(length));
    return Receive(socket);
}

unsigned char* PutPort(unsigned char* next, std::uint16_t port) {
    *next++ = static_cast<unsigned char>(port >> 8);
    *next++ = static_cast<unsigned char>(port & 0xFF);
    return next;
}

unsigned char* PutAddress(unsigned char* next, const std::string& host) {
    const auto address = static_cast<std::uint32_t>(ACE_OS::inet_addr(host.c_str()));
    std::memcpy(next, &address, sizeof address);  // inet_addr answers in network order
    return next + sizeof address;
}

/// A length byte and the text behind it.
unsigned char* PutCounted(unsigned char* next, const std::string& text) {
    *next++ = static_cast<unsigned char>(text.size() & 0xFF);
    return std::copy(text.begin(), text.end(), next);
}

constexpr unsigned char kVersion5 = 5;
constexpr unsigned char kMethodNone = 0;
constexpr unsigned char kMethodPassword = 2;

bool Authenticate(const ProxyParam& proxy, ACE_HANDLE socket) {
    constexpr unsigned char kSubnegotiation = 1;
    Buffer request{kSubnegotiation};
    const std::string password = proxy.user.empty() ? std::string() : proxy.password;
    const std::size_t length = proxy.user.size() + password.size() + 3;
    if (length > request.size()) {
        return false;
    }
    PutCounted(PutCounted(&request[1], proxy.user), password);
    const Buffer answer = Exchange(socket, request, length);
    return answer[0] == kSubnegotiation && answer[1] == 0;
}

bool AgreeOnMethod(const ProxyParam& proxy, ACE_HANDLE socket) {
    const unsigned char offered = proxy.user.empty() ? kMethodNone : kMethodPassword;
    const Buffer answer = Exchange(socket, {kVersion5, 1, offered}, 3);
    if (answer[0] != kVersion5) {
        return false;
    }
    return answer[1] == kMethodNone ||
           (answer[1] == kMethodPassword && Authenticate(proxy, socket));
}

bool RequestTunnel5(ACE_HANDLE socket, const std::string& host, std::uint16_t port) {
    constexpr unsigned char kAddressIpv4 = 1;
    Buffer request{kVersion5, kConnect, 0, kAddressIpv4};
    const unsigned char* end = PutPort(PutAddress(&request[4], host), port);
    const Buffer answer = Exchange(socket, request, static_cast<std::size_t>(end - request.data()));
    return answer[0] == kVersion5 && answer[1] == 0;
}

}  // namespace

int Socks4Handshake(const ProxyParam& /*proxy*/, ACE_HANDLE socket, const std::string& targetHost,
                    std::uint16_t targetPort) {
    constexpr unsigned char kVersion4 = 4;
    constexpr unsigned char kGranted = 0x5A;
    Buffer request{kVersion4, kConnect};
    const unsigned char* userId = PutAddress(PutPort(&request[2], targetPort), targetHost);
    const auto length = static_cast<std::size_t>(userId + 1 - request.data());
    const Buffer answer = Exchange(socket, request, length);
    return answer[0] == 0 && answer[1] == kGranted ? kProxyDone : kProxyFailed;
}

int Socks5Handshake(const ProxyParam& proxy, ACE_HANDLE socket, const std::string& targetHost,
                    std::uint16_t targetPort) {
    const bool done =
        AgreeOnMethod(proxy, socket) && RequestTunnel5(socket, targetHost, targetPort);
    return done ? kProxyDone : kProxyFailed;
}

}  // namespace CQXBASE
