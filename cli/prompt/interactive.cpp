#include "cli/prompt/interactive.h"

namespace CQXCLI::prompt {

namespace {

constexpr const char* kScriptName = "input";

}  // namespace

Interactive::Interactive(script::ScriptRunner& runner, LineEditor& editor)
    : runner_(runner), editor_(editor), splitter_(runner.Connection().SqlDialect()) {}

void Interactive::Run() {
    for (;;) {
        std::string line;
        switch (editor_.Read(Prompt(), line)) {
            case LineEditor::Result::End:
                runner_.EndScript(kScriptName);
                return;
            case LineEditor::Result::Cancelled:
                splitter_.Clear();
                break;
            case LineEditor::Result::Line:
                editor_.Remember(line);
                if (!TakeLine(line)) {
                    return;
                }
                break;
        }
    }
}

std::string Interactive::Prompt() const {
    const char inside = splitter_.Inside();
    if (inside != '\0') {
        return std::string("   ") + inside + "> ";
    }
    if (splitter_.Pending()) {
        return "   -> ";
    }
    const script::HeldTransaction& transaction = runner_.Transaction();
    if (transaction.Failed()) {
        return "qxdb!> ";
    }
    return transaction.Open() ? "qxdb*> " : "qxdb> ";
}

bool Interactive::TakeLine(const std::string& line) {
    if (!splitter_.Pending() && splitter_.Inside() == '\0' && (line == "exit" || line == "quit")) {
        return false;
    }
    splitter_.Feed(line + '\n');
    return RunWhole();
}

bool Interactive::RunWhole() {
    for (script::Statement statement; splitter_.Next(statement);) {
        if (runner_.Run(statement, kScriptName) == script::Outcome::Quit) {
            runner_.EndScript(kScriptName);
            return false;
        }
    }
    return true;
}

}  // namespace CQXCLI::prompt
