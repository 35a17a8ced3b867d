// The program qxdbserver, as an operator runs it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/server/raw_client.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TempDir.h"

namespace qxdb_test {

/// Runs the program to its end with `input` to read; gives its exit status and both outputs.
int RunServerProgram(const std::vector<std::string>& arguments, const std::string& input,
                     std::string& output);

/// A server in a folder of its own, with the account "ann", password "secret". Killed on
/// destruction.
class ServerProgram {
  public:
    /// `config` is the text of a configuration file, which the arguments name when it isn't empty.
    explicit ServerProgram(const std::string& config = {}, std::vector<std::string> arguments = {});

    void Start();
    RawClient Connect() const { return RawClient(port_); }
    RawClient LoggedIn() const;
    ChildProcess& Process() noexcept { return *process_; }
    const TempDir& Folder() const noexcept { return folder_; }
    std::string DataFile(const std::string& name) const { return folder_.File("data/" + name); }

  private:
    TempDir folder_;
    std::vector<std::string> arguments_;
    std::unique_ptr<ChildProcess> process_;
    std::uint16_t port_ = 0;
};

}  // namespace qxdb_test
