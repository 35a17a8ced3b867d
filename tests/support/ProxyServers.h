// Real proxies on loopback, as Debian ships them. A missing package makes Start... throw.
#pragma once

#include <cstdint>
#include <memory>

namespace qxdb_test {

/// The credentials that a proxy with ProxyAccess::Password takes.
constexpr char kProxyUser[] = "alice";
constexpr char kProxyPassword[] = "opensesame";

enum class ProxyAccess { Open, Password };

/// A running proxy that lets its clients through to any loopback port; stopped on destruction.
class ProxyServer {
  public:
    virtual ~ProxyServer() = default;
    virtual std::uint16_t Port() const = 0;
};

std::unique_ptr<ProxyServer> StartTinyproxy(ProxyAccess access);  ///< HTTP CONNECT
std::unique_ptr<ProxyServer> StartSquid(ProxyAccess access);      ///< HTTP CONNECT
std::unique_ptr<ProxyServer> StartDante(ProxyAccess access);      ///< SOCKS4 (when open) and SOCKS5
std::unique_ptr<ProxyServer> StartMicrosocks(ProxyAccess access);  ///< SOCKS5

}  // namespace qxdb_test
