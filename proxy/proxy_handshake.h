// Asks a proxy, on a socket just connected to it, for a tunnel to the application server.
#pragma once

#include <cstdint>
#include <string>

#include <ace/config-all.h>

namespace CQXBASE {

enum ProxyType : std::uint32_t {
    kProxyNone = 0,
    kProxyHttp = 1,
    kProxySocks4 = 2,
    kProxySocks5 = 3,
};

/// A proxy, its texts in the active ANSI code page.
struct ProxyParam {
    std::uint32_t type = kProxyNone;  ///< a ProxyType
    std::string host;                 ///< where the socket is connected to
    std::uint16_t port = 0;
    std::string user;      ///< empty: no credentials are offered
    std::string password;  ///< sent only with a user
    bool valid = true;
};

constexpr int kProxyDone = 0;
constexpr int kProxyFailed = 3;

/// Leaves the socket blocking and with a receive time-out of 5 seconds, for the rest of its life.
/// Each of the proxy's answers is taken by one receive of at most 512 bytes; the rest of an answer
/// stays in the socket or is lost. Returns kProxyDone or kProxyFailed; a failure leaves the socket
/// open.
///
/// `targetHost` is a dotted IPv4 address for SOCKS: nothing is resolved, and any other text asks
/// for 255.255.255.255. `targetPort` is in host byte order. A refusal by an HTTP proxy puts its
/// answer into `errText`, or the request, credentials included, when no answer came.
///
/// Throws QX_Exception when an HTTP request would be longer than 511 bytes.
int ProxyHandshake(const ProxyParam& proxy, ACE_HANDLE socket, const std::string& targetHost,
                   std::uint16_t targetPort, std::wstring& errText);

/// Accepts only the exact reason phrase "Connection established", of HTTP/1.0 or 1.1.
int HttpConnectHandshake(const ProxyParam& proxy, ACE_HANDLE socket, const std::string& targetHost,
                         std::uint16_t targetPort, std::wstring& errText);
/// Sends no user id.
int Socks4Handshake(const ProxyParam& proxy, ACE_HANDLE socket, const std::string& targetHost,
                    std::uint16_t targetPort);
/// Offers one method: user and password when there is a user, else none. A proxy that then chooses
/// the password method all the same gets both empty. A name or password longer than 255 bytes goes
/// out whole behind a length byte that can't hold it, which no proxy takes; together they may have
/// 509 bytes, and longer ones fail unsent.
int Socks5Handshake(const ProxyParam& proxy, ACE_HANDLE socket, const std::string& targetHost,
                    std::uint16_t targetPort);

}  // namespace CQXBASE
