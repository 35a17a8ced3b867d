// A file that appears whole or not at all.
#pragma once

#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>

namespace CQXCLI::output {

/// What is written goes to a file beside the wanted one, which takes the name over in Finish; a
/// file that had the name before stays until then. "-" is standard output; a device or pipe is
/// written directly.
class OutputFile {
  public:
    /// Throws CliError (kFailed) when the file can't be made.
    explicit OutputFile(const std::string& name);
    /// Removes what was not finished.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    std::ostream& Stream() noexcept;
    /// Throws CliError (kFailed) when not everything could be written.
    void Finish();

  private:
    std::string name_;
    std::filesystem::path target_;
    std::filesystem::path part_;  ///< empty: nothing to take the name over
    std::ofstream file_;
};

}  // namespace CQXCLI::output
