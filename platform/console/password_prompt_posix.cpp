#include <array>
#include <bsd/readpassphrase.h>
#include <bsd/string.h>
#include <unistd.h>

#include "platform/console/password_prompt.h"

namespace CQXBASE::platform::console {

bool StdinIsTerminal() noexcept {
    return isatty(STDIN_FILENO) == 1;
}

bool ReadHiddenLine(const std::string& prompt, std::string& line) {
    std::array<char, 1024> buffer{};
    if (readpassphrase(prompt.c_str(), buffer.data(), buffer.size(), RPP_REQUIRE_TTY) == nullptr) {
        return false;
    }
    line = buffer.data();
    explicit_bzero(buffer.data(), buffer.size());
    return true;
}

}  // namespace CQXBASE::platform::console
