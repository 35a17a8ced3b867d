// Addresses of application servers and proxies as they are written on the command line.
#pragma once

#include <cstdint>
#include <string>

#include <qxdb/QXProxyInfo.h>

namespace CQXCLI {

struct ServerAddress {
    std::string host;  ///< name or number, UTF-8
    std::int32_t port = 0;
};

/// Reads "HOST", "HOST:PORT" or "[IPV6]:PORT"; without a port it is the server's usual one. Throws
/// CliError (kWrongUsage).
ServerAddress ParseServer(const std::string& text);

/// What a URL of an application server tells; empty texts and port 0: nothing. UTF-8.
struct ServerUrl {
    bool tls = false;
    std::string host;
    std::int32_t port = 0;
    std::string user;
    std::string password;
    std::string database;
};

/// True for "qxdb://" and "qxdbs://", whatever follows.
bool IsServerUrl(const std::string& text);

/// Reads "qxdb://[user[:password]@]host[:port][/database]", with TLS "qxdbs://...". Percent escapes
/// are resolved. Throws CliError (kWrongUsage); its text never repeats the URL.
ServerUrl ParseServerUrl(const std::string& text);

/// Reads "http://[user[:password]@]host:port", "socks4://..." or "socks5://..."; a SOCKS proxy's
/// usual port is 1080. Percent escapes in user and password are resolved. An empty text is no
/// proxy. Throws CliError (kWrongUsage); its text never repeats the address, which may hold a
/// password.
CQXDB::QXProxyInfo ParseProxy(const std::string& text);

}  // namespace CQXCLI
