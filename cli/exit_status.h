// How the program ends, and the exceptions that carry an end to main.
#pragma once

#include <stdexcept>
#include <string>

namespace CQXCLI {

enum ExitStatus : int {
    kDone = 0,
    kFailed = 1,       ///< a statement, an import or an export failed
    kWrongUsage = 2,   ///< the command line makes no sense
    kNoConnection = 3  ///< no connection to the server or database, or a refused login
};

/// Ends the program with a status and a sentence for people, in UTF-8.
class CliError : public std::runtime_error {
  public:
    CliError(ExitStatus status, const std::string& text)
        : std::runtime_error(text), status_(status) {}
    ExitStatus Status() const noexcept { return status_; }

  private:
    ExitStatus status_;
};

}  // namespace CQXCLI
