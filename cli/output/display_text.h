// Text as a terminal shows it.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

namespace CQXCLI::output {

/// True for well-formed UTF-8.
bool IsUtf8(std::string_view text) noexcept;
/// `text` with each broken byte replaced by U+FFFD.
std::string ToValidUtf8(std::string_view text);

/// An error's text, which a server or database may have written, for standard error: on its lines,
/// but otherwise without what a terminal obeys.
std::string ErrorForDisplay(std::string_view text);

/// Most bytes of a text that are worked on at once, so that a large cell needs no copy.
constexpr std::size_t kPieceBytes = std::size_t{64} * 1024;
/// The start of `text`, of kPieceBytes at most, which cuts no character.
std::string_view FirstPiece(std::string_view text) noexcept;

/// Writes the text on one line, its control characters escaped.
void WriteEscaped(std::ostream& out, std::string_view text);
/// Columns that WriteEscaped takes up; some number above `most` when they are more than that.
std::size_t EscapedWidth(std::string_view text, std::size_t most);

/// Writes spaces.
void WriteBlanks(std::ostream& out, std::size_t count);

/// Columns that the text takes up: 2 for each wide character, 0 for each combining one.
std::size_t DisplayWidth(std::string_view text) noexcept;

/// At most `columns` columns of the text, ending in "..." when something was cut off.
std::string Ellipsis(std::string_view text, std::size_t columns);

}  // namespace CQXCLI::output
