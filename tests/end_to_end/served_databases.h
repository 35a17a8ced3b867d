// All databases, reached directly and through one server.
#pragma once

#include <string>
#include <vector>

#include "tests/end_to_end/databases.h"
#include "tests/support/QxdbServer.h"

namespace qxdb_test {

struct ServedDatabases {
    ServedDatabases() : server(QXDB_SERVER_PROGRAM, Arguments()) {}

    std::vector<std::string> Arguments() {
        std::vector<std::string> arguments;
        for (const auto& [name, url] : databases.AllUrls()) {
            arguments.emplace_back("--database");
            arguments.emplace_back(name).append("=").append(url);
        }
        return arguments;
    }

    Databases databases;
    QxdbServer server;
};

}  // namespace qxdb_test
