// A PostgreSQL server of a test's own, on loopback.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"

namespace qxdb_test {

/// Started by the constructor, stopped by the destructor. Every fault throws std::runtime_error
/// with what the server's programs said.
class PostgresServer {
  public:
    /// `more` arguments go behind the server's own and win over them.
    explicit PostgresServer(std::vector<std::string> more = {});
    ~PostgresServer();

    std::uint16_t Port() const noexcept { return port_; }
    static std::string User() { return "tester"; }
    static std::string Password() { return "se cret';\\x"; }  ///< with all that needs quoting
    static std::string Database() { return "postgres"; }

    /// Ends the server at once, as a crash would; the port stays its own.
    void Stop();
    void Start();

  private:
    TempDir folder_;
    std::vector<std::string> more_;
    std::uint16_t port_;
    std::unique_ptr<ChildProcess> server_;
};

}  // namespace qxdb_test
