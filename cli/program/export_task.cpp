#include <iostream>

#include "cli/output/notice.h"
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
    output::FirstNotices notices;
    session.OnNotice([&](const CQXDB::QXNotice& notice) { notices.Add(notice); });
    auto bar = std::make_unique<output::ProgressBar>(std::cerr, shown,
                                                     CQXBASE::platform::console::TerminalColumns());
    transfer::Export exporting(session, options.export_, [&](std::uint64_t rows) {
        bar->Update(rows, 0, rows);
        return !stop.Made();
    });
    output::OutputFile file(options.export_.file);
    const bool whole = exporting.Run(file.Stream());
    bar.reset();
    notices.Write(std::cerr);
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
