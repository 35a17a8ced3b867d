// A database server of a test's own, on loopback.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"

namespace qxdb_test {

/// Started by the constructor of the class for its kind, stopped by the destructor. Every fault
/// throws std::runtime_error with what the server's programs said.
class DatabaseServer {
  public:
    DatabaseServer(const DatabaseServer&) = delete;
    DatabaseServer& operator=(const DatabaseServer&) = delete;

    std::uint16_t Port() const noexcept { return port_; }
    /// Ends the server at once, as a crash would; the port stays its own.
    void Stop();
    /// The same by SIGKILL to all its processes.
    void Kill();
    void Start();

  protected:
    using Words = std::vector<std::string>;

    DatabaseServer();
    ~DatabaseServer();

    const TempDir& Folder() const noexcept { return folder_; }
    /// What starts the server: its program and arguments, what it says when it is ready, and the
    /// signal that ends it at once.
    void Set(Words command, std::string ready, int endSignal);

  private:
    TempDir folder_;
    std::uint16_t port_;
    Words command_;
    std::string ready_;
    int endSignal_ = 0;
    std::unique_ptr<ChildProcess> server_;
};

}  // namespace qxdb_test
