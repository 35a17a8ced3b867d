#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>

#include <histedit.h>

#include "cli/prompt/line_editor.h"
#include "platform/console/terminal.h"

namespace CQXCLI::prompt {

namespace {

constexpr int kLinesRemembered = 2000;

/// Where the lines are kept; empty when there is no place for them.
std::filesystem::path HistoryFile() {
    const char* state = std::getenv("XDG_STATE_HOME");
    const char* home = std::getenv("HOME");
    std::filesystem::path folder;
    if (state != nullptr && *state == '/') {
        folder = state;
    } else if (home != nullptr) {
        folder = std::filesystem::path(home) / ".local/state";
    } else {
        return {};
    }
    return folder / "qxdb" / "history";
}

/// Lines may hold what nobody else should read.
void MakePrivateFolder(const std::filesystem::path& folder) {
    std::error_code error;
    if (std::filesystem::create_directories(folder, error)) {
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
    }
}

}  // namespace

struct LineEditor::Native {
    EditLine* editor = nullptr;
    History* history = nullptr;
    HistEvent event{};
    std::filesystem::path file = HistoryFile();
    std::string prompt;
    bool cancelled = false;

    static Native& Of(EditLine* editor) {
        Native* self = nullptr;
        el_get(editor, EL_CLIENTDATA, &self);
        return *self;
    }
    static char* Prompt(EditLine* editor) { return Of(editor).prompt.data(); }
    static unsigned char Suspend(EditLine* editor, int /*key*/) {
        el_set(editor, EL_PREP_TERM, 0);
        std::raise(SIGTSTP);
        el_set(editor, EL_PREP_TERM, 1);
        return CC_REDISPLAY;
    }
    static unsigned char Cancel(EditLine* editor, int /*key*/) {
        Of(editor).cancelled = true;
        return CC_EOF;
    }
};

LineEditor::LineEditor() : native_(std::make_unique<Native>()) {
    FILE* const out = CQXBASE::platform::console::OutputIsTerminal() ? stdout : stderr;
    Native& native = *native_;
    native.history = history_init();
    history(native.history, &native.event, H_SETSIZE, kLinesRemembered);
    history(native.history, &native.event, H_SETUNIQUE, 1);
    if (!native.file.empty()) {
        history(native.history, &native.event, H_LOAD, native.file.c_str());
    }
    native.editor = el_init("qxdb", stdin, out, stderr);
    el_set(native.editor, EL_CLIENTDATA, &native);
    el_set(native.editor, EL_EDITOR, "emacs");
    el_set(native.editor, EL_HIST, history, native.history);
    el_set(native.editor, EL_PROMPT, &Native::Prompt);
    el_source(native.editor, nullptr);
    // While a line is edited, these are keys like any others: Ctrl-C drops the line.
    el_set(native.editor, EL_ADDFN, "qxdb-cancel", "Drop the statement", &Native::Cancel);
    el_set(native.editor, EL_BIND, "^C", "qxdb-cancel", nullptr);
    el_set(native.editor, EL_ADDFN, "qxdb-suspend", "Suspend the program", &Native::Suspend);
    el_set(native.editor, EL_BIND, "^Z", "qxdb-suspend", nullptr);
    el_set(native.editor, EL_SETTY, "-d", "-isig", nullptr);
}

LineEditor::~LineEditor() {
    el_end(native_->editor);
    history_end(native_->history);
}

LineEditor::Result LineEditor::Read(const std::string& prompt, std::string& line) {
    native_->prompt = prompt;
    native_->cancelled = false;
    int count = 0;
    // The editor by itself prints the prompt first: a Ctrl-C in between would end the program.
    el_set(native_->editor, EL_PREP_TERM, 1);
    const char* typed = el_gets(native_->editor, &count);
    if (typed == nullptr || count <= 0) {
        std::cout << (native_->cancelled ? "^C\n" : "\n") << std::flush;
        return native_->cancelled ? Result::Cancelled : Result::End;
    }
    line.assign(typed, std::char_traits<char>::length(typed));
    if (!line.empty() && line.back() == '\n') {
        line.pop_back();
    }
    return Result::Line;
}

void LineEditor::Remember(const std::string& line) {
    if (!IsWorthRemembering(line)) {
        return;
    }
    history(native_->history, &native_->event, H_ENTER, line.c_str());
    if (!native_->file.empty()) {
        MakePrivateFolder(native_->file.parent_path());
        history(native_->history, &native_->event, H_SAVE, native_->file.c_str());
    }
}

}  // namespace CQXCLI::prompt
