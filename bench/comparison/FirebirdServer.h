// A Firebird server of the comparison's own, on loopback.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"

namespace qxdb_bench {

/// Debian's server with a configuration, security database and database in a temporary folder;
/// encryption on the wire as it is by default. Started by the constructor, ended by the destructor;
/// what fails throws std::runtime_error.
class FirebirdServer {
  public:
    FirebirdServer();
    ~FirebirdServer();

    std::uint16_t Port() const noexcept { return port_; }
    static std::string User() { return "tester"; }
    static std::string Password() { return "secret"; }
    static std::string Database() { return "comparison"; }

  private:
    std::vector<std::string> Environment() const;
    void WriteConfiguration() const;
    void MakeDatabase() const;

    qxdb_test::TempDir folder_;
    std::uint16_t port_;
    std::unique_ptr<qxdb_test::ChildProcess> server_;
};

}  // namespace qxdb_bench
