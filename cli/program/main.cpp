#include <exception>
#include <iostream>

#include "cli/output/display_text.h"
#include "cli/program/tasks.h"
#include "platform/console/terminal.h"

namespace {

using namespace CQXCLI;

ExitStatus RunTask(const Options& options) {
    switch (options.task) {
        case Options::Task::Ping:
            return RunPing(options);
        case Options::Task::Import:
            return RunImport(options);
        case Options::Task::Export:
            return RunExport(options);
        case Options::Task::Run:
            break;
    }
    return RunScripts(options);
}

ExitStatus Report(ExitStatus status, const std::string& text) {
    std::cout.flush();
    std::cerr << "qxdb: " << ToValidUtf8(text) << '\n';
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    try {
        return RunTask(ParseOptions(CQXBASE::platform::PrepareConsole(argc, argv)));
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
