// Conversions between wide text (UTF-16 on Windows, UTF-32 on Linux), narrow text in a code page,
// and the UTF-16 units that travel on the wire.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace CQXBASE {

constexpr unsigned kCodePageAnsi = 0;  ///< active ANSI code page on Windows, UTF-8 on Linux
constexpr unsigned kCodePageUtf8 = 65001;

/// Converts up to the first NUL. Never fails: what the code page can't express becomes the
/// platform's replacement character, and an unknown code page gives "".
std::wstring ToWide(const std::string& text, unsigned codePage);
std::wstring ToWide(const char* text, unsigned codePage);  ///< a null pointer gives ""
std::string ToNarrow(const std::wstring& text, unsigned codePage);

/// UTF-8, with every character kept, NUL included. Broken sequences and lone surrogates become
/// U+FFFD.
std::string WideToUtf8(std::wstring_view text);
std::wstring Utf8ToWide(std::string_view utf8);

/// UTF-8 without the byte order mark that some programs put in front of it.
constexpr std::string_view WithoutByteOrderMark(std::string_view utf8) noexcept {
    return utf8.substr(0, 3) == "\xEF\xBB\xBF" ? utf8.substr(3) : utf8;
}

/// Number of UTF-16 units of a wide text.
std::size_t Utf16Length(std::wstring_view text) noexcept;
/// UTF-16 units of a wide text and back; lone surrogates pass through both ways.
std::u16string ToUtf16(std::wstring_view text);
std::wstring FromUtf16(std::u16string_view units);

}  // namespace CQXBASE
