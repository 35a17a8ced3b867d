#include "server/network/listener.h"

#include <array>
#include <cerrno>
#include <new>
#include <utility>

#include <ace/INET_Addr.h>
#include <ace/Reactor.h>

#include "platform/sockets/errors.h"
#include "server/log.h"
#include "server/server_error.h"

namespace CQXSERVER::network {
namespace {

constexpr int kBacklog = 511;
constexpr int kAcceptsPerEvent = 64;  ///< then the connections get their turn

bool OutOfResources(int error) noexcept {
    using namespace CQXBASE::platform;
    return sockets::WinsockNumber(error) == sockets::kTooManyHandles ||
           sockets::WinsockNumber(error) == sockets::kNoBuffers || error == ENOMEM;
}

/// A part of a line of the log, which takes memory only there.
struct ErrorText {
    int error;
};
std::ostream& operator<<(std::ostream& out, ErrorText text) {
    return out << CQXBASE::platform::sockets::SocketErrorText(text.error);
}

bool NobodyWaits(int error) noexcept {
    return CQXBASE::platform::sockets::WinsockNumber(error) ==
           CQXBASE::platform::sockets::kWouldBlock;
}

std::string HostText(const ACE_INET_Addr& address) {
    std::array<char, 64> text{};
    const char* const found = address.get_host_addr(text.data(), static_cast<int>(text.size()));
    return found != nullptr ? found : "unknown";
}

}  // namespace

Listener::Listener(const std::string& address, ACE_Reactor& newReactor, OnAccept onAccept)
    : onAccept_(std::move(onAccept)) {
    constexpr int kReuseAddress = 1;
    ACE_INET_Addr local;
    if (address.rfind(':') == std::string::npos || local.set(address.c_str()) == -1) {
        throw OperatorError("'" + address + "' is no address to listen on: use HOST:PORT");
    }
    if (acceptor_.open(local, kReuseAddress, local.get_type(), kBacklog) == -1 ||
        acceptor_.enable(ACE_NONBLOCK) == -1) {
        throw OperatorError(
            "can't listen on " + address + ": " +
            CQXBASE::platform::sockets::SocketErrorText(CQXBASE::platform::sockets::LastError()));
    }
    reactor(&newReactor);
    if (newReactor.register_handler(this, ACE_Event_Handler::ACCEPT_MASK) == -1) {
        acceptor_.close();
        throw OperatorError("can't watch the listening socket");
    }
}

Listener::~Listener() {
    // A paused one waits for other events, and the reactor keeps whoever waits for any.
    reactor()->remove_handler(this,
                              ACE_Event_Handler::ALL_EVENTS_MASK | ACE_Event_Handler::DONT_CALL);
    acceptor_.close();
}

std::uint16_t Listener::Port() const {
    ACE_INET_Addr local;
    acceptor_.get_local_addr(local);
    return local.get_port_number();
}

void Listener::Resume() {
    if (paused_) {
        paused_ = false;
        reactor()->mask_ops(this, ACE_Event_Handler::ACCEPT_MASK, ACE_Reactor::SET_MASK);
    }
}

void Listener::HandOver(ACE_SOCK_Stream& peer, const ACE_INET_Addr& remote) {
    std::string host;
    try {
        host = HostText(remote);
    } catch (const std::bad_alloc&) {
        peer.close();
        return;
    }
    try {
        onAccept_(peer, host);
    } catch (const std::bad_alloc&) {
        LogError("no memory for a connection");
    }
}

int Listener::handle_input(ACE_HANDLE) {
    int error = 0;
    for (int i = 0; i < kAcceptsPerEvent; ++i) {
        ACE_SOCK_Stream peer;
        ACE_INET_Addr remote;
        const bool accepted = acceptor_.accept(peer, &remote) == 0;
        error = accepted ? 0 : CQXBASE::platform::sockets::LastError();
        if (accepted) {
            HandOver(peer, remote);
        } else if (NobodyWaits(error)) {
            return 0;
        } else if (OutOfResources(error)) {
            break;
        }  // else the connection died while it waited, and the next one may be sound
    }
    if (error != 0) {
        Pause(error);
    }
    return 0;
}

/// Until Resume: the waiting connection stays readable, and so this would spin.
void Listener::Pause(int error) {
    paused_ = true;
    reactor()->mask_ops(this, ACE_Event_Handler::EXCEPT_MASK, ACE_Reactor::SET_MASK);
    LogError("can't accept connections: ", ErrorText{error});
}

}  // namespace CQXSERVER::network
