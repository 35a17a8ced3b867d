// The URL of a test's own database server.
#pragma once

#include <string>

#include <Poco/URI.h>

namespace qxdb_test {

/// `Server` is PostgresServer or MariaDbServer; `database` of it, or the one it is made with.
template <typename Server>
std::string DatabaseUrl(const std::string& scheme, const Server& server,
                        const std::string& database = Server::Database()) {
    std::string password;
    Poco::URI::encode(Server::Password(), " !\"#$%&'()*+,/:;<=>?@[\\]^`{|}~", password);
    return scheme + "://" + Server::User() + ":" + password +
           "@127.0.0.1:" + std::to_string(server.Port()) + "/" + database;
}

}  // namespace qxdb_test
