// A PostgreSQL server of a test's own.
#pragma once

#include "tests/support/DatabaseServer.h"

namespace qxdb_test {

class PostgresServer : public DatabaseServer {
  public:
    /// `more` arguments go behind the server's own and win over them.
    explicit PostgresServer(const std::vector<std::string>& more = {});

    static std::string User() { return "tester"; }
    static std::string Password() { return "se cret';\\x"; }  ///< with all that needs quoting
    static std::string Database() { return "postgres"; }
};

}  // namespace qxdb_test
