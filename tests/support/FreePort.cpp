#include "tests/support/FreePort.h"

#include <stdexcept>

#include <ace/INET_Addr.h>
#include <ace/SOCK_Acceptor.h>
#include <ace/SOCK_Connector.h>
#include <ace/SOCK_Stream.h>

namespace qxdb_test {

std::uint16_t FreePort() {
    ACE_SOCK_Acceptor acceptor;
    ACE_INET_Addr address(static_cast<unsigned short>(0), "127.0.0.1");
    if (acceptor.open(address) != 0 || acceptor.get_local_addr(address) != 0) {
        throw std::runtime_error("no free loopback port");
    }
    const std::uint16_t port = address.get_port_number();
    acceptor.close();
    return port;
}

bool Listens(std::uint16_t port) {
    ACE_SOCK_Stream stream;
    const bool connected =
        ACE_SOCK_Connector().connect(stream, ACE_INET_Addr(port, "127.0.0.1")) == 0;
    stream.close();
    return connected;
}

}  // namespace qxdb_test
