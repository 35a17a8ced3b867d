// The commands of the program itself, which begin with a backslash.
#pragma once

#include <string>
#include <vector>

#include "cli/script/script_runner.h"

namespace CQXCLI::script {

class MetaCommands {
  public:
    /// `runner` must outlive the object.
    explicit MetaCommands(ScriptRunner& runner) : runner_(runner) {}

    /// Runs one command of the script `name`.
    Outcome Run(const Statement& statement, const std::string& name);

    /// The command's name and arguments; an argument may stand in quotes.
    static std::vector<std::string> Words(const std::string& text);

  private:
    using Arguments = std::vector<std::string>;
    struct Command;
    static const std::vector<Command>& Commands();

    Outcome Quit(const Arguments& arguments);
    Outcome Help(const Arguments& arguments);
    Outcome Connect(const Arguments& arguments);
    Outcome Describe(const Arguments& arguments);
    Outcome ChooseFormat(const Arguments& arguments);
    Outcome Include(const Arguments& arguments);
    Outcome ChooseTiming(const Arguments& arguments);
    Outcome Restrict(const Arguments& arguments);
    Outcome Unrestrict(const Arguments& arguments);
    Outcome Fail(const std::string& text);

    ScriptRunner& runner_;
    std::string script_;      ///< of the command that runs
    std::size_t line_ = 1;    ///< of the command that runs
    std::size_t depth_ = 0;   ///< scripts included in one another
    std::string restricted_;  ///< what \unrestrict has to say; empty: nothing is forbidden
};

}  // namespace CQXCLI::script
