// Passwords from people at a terminal.
#pragma once

#include <string>

namespace CQXBASE::platform::console {

bool StdinIsTerminal() noexcept;

/// Writes `prompt` to the terminal and reads one line from it without showing what is typed,
/// whatever standard input and output are. UTF-8. False, with `line` as it was, when there is no
/// terminal. An interrupt key ends the process as usual, with the terminal as it was.
bool ReadHiddenLine(const std::string& prompt, std::string& line);

}  // namespace CQXBASE::platform::console
