// The socket that clients connect to.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include <ace/Event_Handler.h>
#include <ace/SOCK_Acceptor.h>
#include <ace/SOCK_Stream.h>

namespace CQXSERVER::network {

/// Lives on the reactor's thread.
class Listener : public ACE_Event_Handler {
  public:
    /// Gets every new connection, and the peer's address without its port. Owns the connection,
    /// also when it throws.
    using OnAccept = std::function<void(const ACE_SOCK_Stream&, const std::string&)>;

    /// Binds to "HOST:PORT" or "[IPV6]:PORT" and listens. Throws OperatorError.
    Listener(const std::string& address, ACE_Reactor& reactor, OnAccept onAccept);
    ~Listener() override;
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    std::uint16_t Port() const;
    /// Accepts again after the system could not.
    void Resume();

    ACE_HANDLE get_handle() const override { return acceptor_.get_handle(); }
    int handle_input(ACE_HANDLE) override;

  private:
    void Pause(int error);
    void HandOver(ACE_SOCK_Stream& peer, const ACE_INET_Addr& remote);

    ACE_SOCK_Acceptor acceptor_;
    OnAccept onAccept_;
    bool paused_ = false;
};

}  // namespace CQXSERVER::network
