#include <clocale>
#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "platform/console/terminal.h"

namespace CQXBASE::platform::console {

std::vector<std::string> PrepareConsole(int argc, char** argv) {
    // The line editor reads characters by the locale. Texts are UTF-8 here whatever it says.
    const char* locale = std::setlocale(LC_CTYPE, "");
    if (locale == nullptr || std::string(nl_langinfo(CODESET)) != "UTF-8") {
        std::setlocale(LC_CTYPE, "C.UTF-8");
    }
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

bool OutputIsTerminal() noexcept {
    return isatty(STDOUT_FILENO) == 1;
}
bool ErrorIsTerminal() noexcept {
    return isatty(STDERR_FILENO) == 1;
}

std::size_t TerminalColumns() noexcept {
    winsize size{};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    return known ? size.ws_col : 80;
}

}  // namespace CQXBASE::platform::console
