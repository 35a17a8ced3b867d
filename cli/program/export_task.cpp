#include <iostream>

#include "cli/output/output_file.h"
#include "cli/output/progress.h"
#include "cli/program/tasks.h"
#include "cli/stop_request.h"
#include "platform/console/terminal.h"

namespace CQXCLI::program {

ExitStatus RunExport(const Options& options) {
    const StopRequest stop;
    Session session(options.connection);
    const bool shown = CQXBASE::platform::console::ErrorIsTerminal();
    auto bar = std::make_unique<output::ProgressBar>(std::cerr, shown,
                                                     CQXBASE::platform::console::TerminalColumns());
    std::uint64_t total = 0;
    transfer::Export* running = nullptr;
    transfer::Export exporting(session, options.export_, [&](std::uint64_t rows) {
        // Only a result of several pages is worth the counting.
        total = shown && total == 0 ? running->CountAll() : total;
        bar->Update(rows, total, rows);
        return !stop.Made();
    });
    running = &exporting;
    output::OutputFile file(options.export_.file);
    const bool whole = exporting.Run(file.Stream());
    bar.reset();
    if (!whole && stop.Made()) {
        throw CliError(kFailed, "stopped; " + options.export_.file + " was not written");
    }
    file.Finish();
    const std::string name = options.export_.file == "-" ? "standard output" : options.export_.file;
    std::cerr << output::Grouped(exporting.Rows()) << (exporting.Rows() == 1 ? " row" : " rows")
              << " exported to " << name << '\n';
    return kDone;
}

}  // namespace CQXCLI::program
