// The command line.
#pragma once

#include <string>
#include <vector>

#include "cli/script/script_runner.h"
#include "cli/session.h"
#include "cli/transfer/export.h"
#include "cli/transfer/import.h"

namespace CQXCLI::program {

/// A script to run: the text of a -c, or the file of a -f ("-": standard input).
struct ScriptInput {
    bool isFile = false;
    std::string text;
};

struct Options {
    enum class Task { Run, Ping, Import, Export };

    Task task = Task::Run;
    ConnectionOptions connection;
    std::vector<ScriptInput> inputs;  ///< in the order of the command line
    script::RunOptions run;
    transfer::ImportOptions import;
    transfer::ExportOptions export_;
};

/// Reads the arguments (UTF-8, without the program's name). Throws CliError: kWrongUsage, or kDone
/// with the text that --help or --version asks for.
Options ParseOptions(std::vector<std::string> arguments);

}  // namespace CQXCLI::program
