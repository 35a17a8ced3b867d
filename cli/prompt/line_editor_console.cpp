#include <array>
#include <iostream>
#include <windows.h>

#include "cli/prompt/line_editor.h"
#include "util/text.h"

namespace CQXCLI::prompt {

// The console edits lines and remembers them by itself.
struct LineEditor::Native {};

LineEditor::LineEditor() = default;
LineEditor::~LineEditor() = default;

LineEditor::Result LineEditor::Read(const std::string& prompt, std::string& line) {
    std::cout << prompt << std::flush;
    std::wstring typed;
    while (typed.empty() || typed.back() != L'\n') {
        std::array<wchar_t, 1024> buffer{};
        DWORD count = 0;
        const BOOL read = ReadConsoleW(GetStdHandle(STD_INPUT_HANDLE), buffer.data(),
                                       static_cast<DWORD>(buffer.size()), &count, nullptr);
        if (read != 0 && count == 0) {
            std::cout << "\n";
            return Result::Cancelled;
        }
        constexpr wchar_t kControlZ = 0x1A;
        if (read == 0 || (typed.empty() && buffer[0] == kControlZ)) {
            return Result::End;
        }
        typed.append(buffer.data(), count);
    }
    line = CQXBASE::WideToUtf8(typed.substr(0, typed.find_first_of(L"\r\n")));
    return Result::Line;
}

void LineEditor::Remember(const std::string& /*line*/) {}

}  // namespace CQXCLI::prompt
