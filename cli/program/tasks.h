// What the program can be asked to do.
#pragma once

#include "cli/exit_status.h"
#include "cli/program/options.h"

namespace CQXCLI::program {

/// Each connects, works and tells on standard output and standard error what there is to tell.
/// Throws CliError.
ExitStatus RunScripts(const Options& options);
ExitStatus RunPing(const Options& options);
ExitStatus RunImport(const Options& options);
ExitStatus RunExport(const Options& options);

}  // namespace CQXCLI::program
