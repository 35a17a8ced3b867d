#include <filesystem>
#include <fstream>
#include <iostream>

#include "cli/output/notice.h"
#include "cli/output/progress.h"
#include "cli/program/tasks.h"
#include "cli/stop_request.h"
#include "platform/console/terminal.h"

namespace CQXCLI::program {

namespace {

std::uint64_t SizeOf(const std::string& name) {
    std::error_code error;
    const auto size = std::filesystem::file_size(std::filesystem::u8path(name), error);
    return name == "-" || error ? 0 : size;
}

std::istream& Open(const std::string& name, std::ifstream& file) {
    if (name == "-") {
        return std::cin;
    }
    file.open(std::filesystem::u8path(name), std::ios::binary);
    if (!file) {
        throw CliError(kWrongUsage, "the file " + name + " can't be read");
    }
    return file;
}

std::string Rows(std::uint64_t count) {
    return output::Grouped(count) + (count == 1 ? " row" : " rows");
}

std::string HowToGoOn(const transfer::ImportProgress& progress) {
    return progress.rows == 0 ? "no row was imported"
                              : Rows(progress.rows) + " imported; --from-line " +
                                    std::to_string(progress.nextLine) + " goes on behind them";
}

}  // namespace

ExitStatus RunImport(const Options& options) {
    const StopRequest stop;
    std::ifstream file;
    std::istream& in = Open(options.import.file, file);
    const std::uint64_t size = SizeOf(options.import.file);
    Session session(options.connection);
    output::FirstNotices notices;
    session.OnNotice([&](const CQXDB::QXNotice& notice) { notices.Add(notice); });
    auto bar = std::make_unique<output::ProgressBar>(std::cerr,
                                                     CQXBASE::platform::console::ErrorIsTerminal(),
                                                     CQXBASE::platform::console::TerminalColumns());
    transfer::Import import(session, options.import, [&](const transfer::ImportProgress& progress) {
        bar->Update(progress.bytes, size, progress.rows);
        return !stop.Made();
    });
    const std::string name = options.import.file == "-" ? "standard input" : options.import.file;
    bool whole = false;
    try {
        whole = import.Run(in);
    } catch (const CliError& error) {
        bar.reset();
        notices.Write(std::cerr);
        throw CliError(error.Status(),
                       name + ": " + error.what() + "; " + HowToGoOn(import.Progress()));
    }
    bar.reset();
    notices.Write(std::cerr);
    if (!whole) {
        throw CliError(kFailed, name + ": stopped; " + HowToGoOn(import.Progress()));
    }
    std::cerr << Rows(import.Progress().rows) << " imported into " << options.import.table << '\n';
    return kDone;
}

}  // namespace CQXCLI::program
