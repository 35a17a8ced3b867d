// A TCP port for a server that has to be told one.
#pragma once

#include <cstdint>

namespace qxdb_test {

/// A loopback port that nobody listened on a moment ago.
std::uint16_t FreePort();
/// True when a server accepts connections on the loopback port.
bool Listens(std::uint16_t port);

}  // namespace qxdb_test
