// The interactive prompt.
#pragma once

#include "cli/prompt/line_editor.h"
#include "cli/script/script_runner.h"

namespace CQXCLI::prompt {

/// Reads statements from the terminal, which may take several lines, and runs each when its last
/// line has been typed, until the user leaves.
class Interactive {
  public:
    /// Both must outlive the object.
    Interactive(script::ScriptRunner& runner, LineEditor& editor);

    void Run();

  private:
    std::string Prompt() const;
    bool TakeLine(const std::string& line);
    bool RunWhole();

    script::ScriptRunner& runner_;
    LineEditor& editor_;
    script::StatementSplitter splitter_;
};

}  // namespace CQXCLI::prompt
