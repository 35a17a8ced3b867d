// Text as a terminal shows it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace CQXCLI::output {

/// True for well-formed UTF-8.
bool IsUtf8(std::string_view text) noexcept;
/// `text` with each broken byte replaced by U+FFFD.
std::string ToValidUtf8(std::string_view text);

/// `text` on one line and harmless to a terminal: line breaks as "\n" and "\r", a tab as "\t",
/// other control characters as "\x1b" or "\u202e", broken bytes as U+FFFD.
std::string EscapeForDisplay(std::string_view text);

/// Columns that the text takes up: 2 for each wide character, 0 for each combining one.
std::size_t DisplayWidth(std::string_view text) noexcept;

/// At most `columns` columns of the text, ending in "..." when something was cut off.
std::string Ellipsis(std::string_view text, std::size_t columns);

}  // namespace CQXCLI::output
