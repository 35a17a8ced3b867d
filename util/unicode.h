// What the UTF-8 and UTF-16 conversions share.
#pragma once

#include <cstddef>
#include <string_view>

namespace CQXBASE {

constexpr bool kWideIsUtf16 = sizeof(wchar_t) == sizeof(char16_t);

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kLastCodePoint = 0x10FFFF;

constexpr bool IsSurrogate(char32_t unit) {
    return (unit & 0xFFFFF800) == 0xD800;
}
constexpr bool IsHighSurrogate(char32_t unit) {
    return (unit & 0xFFFFFC00) == 0xD800;
}
constexpr bool IsLowSurrogate(char32_t unit) {
    return (unit & 0xFFFFFC00) == 0xDC00;
}

constexpr char32_t CombineSurrogates(char32_t high, char32_t low) {
    return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}
constexpr char32_t HighSurrogate(char32_t point) {
    return 0xD7C0 + (point >> 10);
}
constexpr char32_t LowSurrogate(char32_t point) {
    return 0xDC00 + (point & 0x3FF);
}

struct Utf8Point {
    char32_t point;      ///< kReplacement when malformed
    std::size_t length;  ///< bytes taken, at least 1
    bool wellFormed;
};
/// The character at the start of non-empty `utf8`. A malformed one takes its longest prefix that
/// could have begun a character.
Utf8Point FirstPoint(std::string_view utf8) noexcept;

/// One pass without a branch, for the compiler to vectorise.
template <class Text>
bool IsAscii(Text text) {
    char32_t bits = 0;
    for (const auto unit : text) {
        bits |= static_cast<char32_t>(unit);
    }
    return bits < 0x80;
}

}  // namespace CQXBASE
