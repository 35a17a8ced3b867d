// The terminal that the program may run on.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace CQXBASE::platform::console {

/// Makes the console speak UTF-8, and returns the arguments behind the program's name as UTF-8.
std::vector<std::string> PrepareConsole(int argc, char** argv);

bool OutputIsTerminal() noexcept;
bool ErrorIsTerminal() noexcept;
/// Columns of the terminal behind standard error; 80 when they can't be told.
std::size_t TerminalColumns() noexcept;

}  // namespace CQXBASE::platform::console
