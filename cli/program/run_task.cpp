#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>

#include "cli/program/tasks.h"
#include "cli/prompt/interactive.h"
#include "platform/console/password_prompt.h"

namespace CQXCLI::program {

namespace {

constexpr const char* kStandardInput = "standard input";
constexpr long kPortionRows = 1000;

script::Outcome RunFile(script::ScriptRunner& runner, const std::string& name) {
    if (name == "-") {
        return runner.RunScript(std::cin, kStandardInput);
    }
    std::ifstream file(std::filesystem::u8path(name), std::ios::binary);
    if (!file) {
        throw CliError(kWrongUsage, "the file " + name + " can't be read");
    }
    return runner.RunScript(file, name);
}

script::Outcome RunInput(script::ScriptRunner& runner, const ScriptInput& input,
                         std::size_t number) {
    if (input.isFile) {
        return RunFile(runner, input.text);
    }
    std::istringstream text(input.text);
    return runner.RunScript(text, "-c " + std::to_string(number));
}

script::Outcome RunInputs(script::ScriptRunner& runner, const Options& options) {
    script::Outcome worst = script::Outcome::Done;
    std::size_t commands = 0;
    for (const ScriptInput& input : options.inputs) {
        commands += input.isFile ? 0U : 1U;
        const script::Outcome outcome = RunInput(runner, input, commands);
        if (outcome != script::Outcome::Done &&
            (outcome != script::Outcome::Failed || !options.run.keepGoing)) {
            return outcome;
        }
        worst = std::max(worst, outcome);
    }
    return worst;
}

/// Statement parameters belong to one statement, so a -c that has them must not hold more.
void CheckParameters(const Options& options, const Dialect& dialect) {
    if (options.run.parameters.empty()) {
        return;
    }
    script::StatementSplitter splitter(dialect);
    splitter.Feed(options.inputs.at(0).text);
    splitter.Finish();
    script::Statement statement;
    splitter.Next(statement);
    if (splitter.Next(statement)) {
        throw CliError(kWrongUsage, "--param goes with one statement");
    }
}

void Talk(Session& session, script::RunOptions options) {
    options.confirm = true;
    options.keepGoing = true;
    options.portionRows = options.pageSize == 0 ? kPortionRows : 0;
    script::ScriptRunner runner(session, std::cout, std::cerr, options);
    prompt::LineEditor editor;
    std::cout << "qxdb " QXDB_VERSION ", \\? for help\n" << std::flush;
    prompt::Interactive(runner, editor).Run();
}

ExitStatus StatusOf(const script::ScriptRunner& runner, script::Outcome outcome) {
    if (outcome == script::Outcome::NoConnection) {
        return kNoConnection;
    }
    return runner.AnyFailure() ? kFailed : kDone;
}

}  // namespace

ExitStatus RunScripts(const Options& options) {
    Session session(options.connection);
    if (options.inputs.empty() && CQXBASE::platform::console::StdinIsTerminal()) {
        Talk(session, options.run);
        return kDone;
    }
    CheckParameters(options, session.SqlDialect());
    script::ScriptRunner runner(session, std::cout, std::cerr, options.run);
    const script::Outcome outcome =
        options.inputs.empty() ? RunFile(runner, "-") : RunInputs(runner, options);
    if (!std::cout.flush()) {
        throw CliError(kFailed, "not everything could be written to standard output");
    }
    return StatusOf(runner, outcome);
}

}  // namespace CQXCLI::program
