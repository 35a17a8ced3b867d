// TLS in front of a test's own server, which sees plain bytes.
#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

#include <ace/SOCK_Acceptor.h>

namespace qxdb_test {

/// Takes one connection after the other on a port of its own and passes bytes on to and from
/// `port`, until either side closes; the other one is then closed in the same way.
class TlsFront {
  public:
    explicit TlsFront(std::uint16_t port);
    ~TlsFront();
    TlsFront(const TlsFront&) = delete;
    TlsFront& operator=(const TlsFront&) = delete;

    std::uint16_t Port() const noexcept { return port_; }

  private:
    void Serve();

    const std::uint16_t behind_;
    ACE_SOCK_Acceptor acceptor_;
    std::uint16_t port_ = 0;
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

}  // namespace qxdb_test
