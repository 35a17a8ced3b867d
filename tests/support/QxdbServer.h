// The application server's program, in a folder of its own.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"

namespace qxdb_test {

/// One account, kUser with kPassword. Started by the constructor, stopped by the destructor; what
/// fails throws std::runtime_error with the program's own words.
class QxdbServer {
  public:
    static constexpr const char* kUser = "ada";
    static constexpr const char* kPassword = "correct horse battery";

    /// `program` is the path of qxdbserver; `arguments` go behind those for folder and port, and
    /// `environment` is added to the test's own, "NAME=value" each. `prepare` gets the data folder
    /// before the server starts.
    explicit QxdbServer(std::string program, std::vector<std::string> arguments = {},
                        std::vector<std::string> environment = {},
                        const std::function<void(const std::string&)>& prepare = {});
    ~QxdbServer();

    std::uint16_t Port() const noexcept { return port_; }
    std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }
    const TempDir& Folder() const noexcept { return folder_; }
    int Pid() const { return process_->Pid(); }
    ChildProcess& Process() noexcept { return *process_; }

    void Stop();  ///< asks it to end and waits
    void Kill();
    void Start();  ///< on the port that it had before
    std::string Log() const { return process_->Errors(); }

  private:
    TempDir folder_;
    std::string program_;
    std::vector<std::string> arguments_;
    std::vector<std::string> environment_;
    std::uint16_t port_ = 0;
    std::unique_ptr<ChildProcess> process_;
};

}  // namespace qxdb_test
