// The programs that the tour starts on loopback and stops again.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <qxdb/QXProxyInfo.h>
#include <qxdb/QXTlsInfo.h>

namespace tour {

/// A child process; terminated and waited for on destruction.
class Child;

/// qxdbserver on a free port, with one account and a certificate of its own, for TLS only.
class Server {
  public:
    Server(const std::string& program, const std::string& workDir, const std::string& user,
           const std::string& password);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::uint16_t Port() const { return port_; }
    /// Trusts the authority that has issued the certificate.
    CQXDB::QXTlsInfo Tls() const;

  private:
    std::string workDir_;
    std::unique_ptr<Child> child_;
    std::uint16_t port_ = 0;
};

/// microsocks on a free port.
class SocksProxy {
  public:
    SocksProxy();
    ~SocksProxy();
    SocksProxy(const SocksProxy&) = delete;
    SocksProxy& operator=(const SocksProxy&) = delete;

    std::uint16_t Port() const { return port_; }
    CQXDB::QXProxyInfo Info() const;

  private:
    std::unique_ptr<Child> child_;
    std::uint16_t port_ = 0;
};

}  // namespace tour
