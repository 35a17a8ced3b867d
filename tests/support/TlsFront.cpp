#include "tests/support/TlsFront.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

#include <ace/Handle_Set.h>
#include <ace/INET_Addr.h>
#include <ace/OS_NS_sys_select.h>
#include <ace/SOCK_Connector.h>
#include <ace/SOCK_Stream.h>

#include "tests/support/TestTls.h"
#include "tls/context.h"
#include "tls/tls_error.h"

namespace qxdb_test {
namespace {

constexpr int kPieceBytes = 16384;

CQXBASE::tls::Context ServerContext() {
    CQXBASE::tls::ServerSettings settings;
    settings.certificateFile = TestTls::Get().server.certificate;
    settings.keyFile = TestTls::Get().server.key;
    return CQXBASE::tls::ServerContext(settings);
}

/// Waits until one of both can be read; true when it is `first`.
bool WaitForEither(const ACE_SOCK_Stream& first, const ACE_SOCK_Stream& second) {
    ACE_Handle_Set readable;
    readable.set_bit(first.get_handle());
    readable.set_bit(second.get_handle());
    const int width =
        std::max(SocketNumber(first.get_handle()), SocketNumber(second.get_handle())) + 1;
    ACE_OS::select(width, readable.fdset());
    return readable.is_set(first.get_handle()) != 0;
}

/// False when the client has closed.
bool PassOn(SSL* client, ACE_SOCK_Stream& server, char* bytes) {
    do {
        CQXBASE::tls::ForgetErrors();
        const int got = SSL_read(client, bytes, kPieceBytes);
        if (got <= 0) {
            return SSL_get_error(client, got) == SSL_ERROR_WANT_READ;
        }
        server.send_n(bytes, static_cast<std::size_t>(got));
    } while (SSL_has_pending(client) == 1);
    return true;
}

void Pump(SSL* client, const ACE_SOCK_Stream& wire, ACE_SOCK_Stream& server) {
    char bytes[kPieceBytes];
    for (;;) {
        if (WaitForEither(wire, server)) {
            if (!PassOn(client, server, bytes)) {
                return;
            }
            continue;
        }
        const ssize_t got = server.recv(bytes, sizeof bytes);
        CQXBASE::tls::ForgetErrors();
        if (got <= 0 || SSL_write(client, bytes, static_cast<int>(got)) <= 0) {
            return;
        }
    }
}

}  // namespace

TlsFront::TlsFront(std::uint16_t port) : behind_(port) {
    ACE_INET_Addr local;
    if (acceptor_.open(ACE_INET_Addr(static_cast<u_short>(0), "127.0.0.1"), 1) != 0 ||
        acceptor_.get_local_addr(local) != 0) {
        throw std::runtime_error("no listening socket");
    }
    port_ = local.get_port_number();
    thread_ = std::thread([this] { Serve(); });
}

TlsFront::~TlsFront() {
    stopping_ = true;
    ACE_SOCK_Stream wake;
    ACE_SOCK_Connector().connect(wake, ACE_INET_Addr(port_, "127.0.0.1"));
    wake.close();
    thread_.join();
    acceptor_.close();
}

void TlsFront::Serve() {
    static const CQXBASE::tls::Context context = ServerContext();
    ACE_SOCK_Stream wire;
    while (acceptor_.accept(wire) == 0 && !stopping_) {
        const std::unique_ptr<SSL, void (*)(SSL*)> client(SSL_new(context.get()), SSL_free);
        SSL_set_fd(client.get(), SocketNumber(wire.get_handle()));
        CQXBASE::tls::ForgetErrors();
        ACE_SOCK_Stream server;
        if (SSL_accept(client.get()) == 1 &&
            ACE_SOCK_Connector().connect(server, ACE_INET_Addr(behind_, "127.0.0.1")) == 0) {
            Pump(client.get(), wire, server);
            SSL_shutdown(client.get());
        }
        server.close();
        wire.close();
    }
    wire.close();
}

}  // namespace qxdb_test
