// Text from elsewhere as people can be shown it, on a terminal or in a file that they open there.
#pragma once

#include <string>
#include <string_view>

namespace CQXBASE {

enum class LineBreaks {
    Escape,  ///< the text stays on one line
    Keep,    ///< line feeds and tabs stay, the carriage return of a CR LF goes
};

/// True for what a terminal obeys or what makes text look like another: C0 and C1 control
/// characters, DEL, the line and paragraph separators, and what marks, embeds, overrides or
/// isolates a writing direction.
bool IsControl(char32_t point) noexcept;

/// UTF-8 text without any of these: a line feed as "\n", a carriage return as "\r", a tab as "\t",
/// others as "\x1b" below U+0080 and as "\u009b" above. Bytes that are no UTF-8 become U+FFFD, so
/// the result is UTF-8 whatever `text` is. Backslashes stay as they are.
std::string PrintableUtf8(std::string_view text, LineBreaks breaks = LineBreaks::Escape);

}  // namespace CQXBASE
