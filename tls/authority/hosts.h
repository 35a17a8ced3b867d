// Whom a server's certificate can be for.
#pragma once

#include <string>

namespace CQXBASE::tls::authority {

/// An IPv4 or IPv6 address, without brackets or port.
bool IsAddress(const std::string& host);
/// An address, or a host name in ASCII, whose first part may be "*".
bool IsHost(const std::string& host);

}  // namespace CQXBASE::tls::authority
