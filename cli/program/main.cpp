#include <exception>
#include <iostream>

#include <qxdb/DBAgent.h>

#include "cli/output/display_text.h"
#include "cli/program/tasks.h"
#include "platform/console/terminal.h"

namespace {

using namespace CQXCLI;

ExitStatus RunTask(const program::Options& options) {
    switch (options.task) {
        case program::Options::Task::Ping:
            return program::RunPing(options);
        case program::Options::Task::Import:
            return program::RunImport(options);
        case program::Options::Task::Export:
            return program::RunExport(options);
        case program::Options::Task::Run:
            break;
    }
    return program::RunScripts(options);
}

ExitStatus Report(ExitStatus status, const std::string& text) {
    std::cout.flush();
    std::cerr << "qxdb: " << output::ErrorForDisplay(text) << '\n';
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    CQXDB::DBAgent::KeepFrameKey(true);
    try {
        return RunTask(
            program::ParseOptions(CQXBASE::platform::console::PrepareConsole(argc, argv)));
    } catch (const CliError& end) {
        if (end.Status() != kDone) {
            return Report(end.Status(), end.what());
        }
        std::cout << end.what();
    } catch (const std::exception& error) {
        return Report(kFailed, error.what());
    }
    return kDone;
}
