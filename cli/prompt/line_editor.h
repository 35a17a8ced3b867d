// Lines typed at the interactive prompt.
#pragma once

#include <memory>
#include <string>

namespace CQXCLI::prompt {

class LineEditor {
  public:
    enum class Result {
        Line,
        Cancelled,
        End
    };  ///< Cancelled: Ctrl-C; End: Ctrl-D on an empty line

    LineEditor();
    ~LineEditor();
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;

    /// Reads one line, UTF-8, without its line end.
    Result Read(const std::string& prompt, std::string& line);
    /// Puts a line into the history, on disk at once. Lines that begin with a blank, or that speak
    /// of a password, are left out.
    void Remember(const std::string& line);

  private:
    struct Native;
    std::unique_ptr<Native> native_;
};

/// False for a line that is better forgotten.
bool IsWorthRemembering(const std::string& line);

}  // namespace CQXCLI::prompt
