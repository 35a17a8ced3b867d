#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#include <shellapi.h>

#include "platform/console/terminal.h"
#include "platform/text/code_page.h"

namespace CQXBASE::platform::console {

namespace {

bool IsConsole(DWORD stream) noexcept {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(stream), &mode) != 0;
}

}  // namespace

std::vector<std::string> PrepareConsole(int /*argc*/, char** /*argv*/) {
    SetConsoleOutputCP(CP_UTF8);
    // The formats write the line ends that they prescribe; none is added to them.
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    int count = 0;
    LPWSTR* const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) {
        arguments.push_back(text::Narrow(wide[i], CP_UTF8));
    }
    LocalFree(wide);
    return arguments;
}

bool OutputIsTerminal() noexcept {
    return IsConsole(STD_OUTPUT_HANDLE);
}
bool ErrorIsTerminal() noexcept {
    return IsConsole(STD_ERROR_HANDLE);
}

std::size_t TerminalColumns() noexcept {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    const bool known = GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info) != 0;
    const int columns = info.srWindow.Right - info.srWindow.Left + 1;
    return known && columns > 1 ? static_cast<std::size_t>(columns) : 80;
}

}  // namespace CQXBASE::platform::console
