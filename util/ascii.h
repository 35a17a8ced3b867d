// Letters and digits of ASCII, whatever the locale says.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace CQXBASE {

constexpr bool IsAsciiBlank(char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool IsAsciiDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}
constexpr bool IsAsciiLetter(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
constexpr char UpperAscii(char c) noexcept {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
inline std::string UpperAscii(std::string_view text) {
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(), [](char c) { return UpperAscii(c); });
    return upper;
}
constexpr char LowerAscii(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
inline std::string LowerAscii(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return LowerAscii(c); });
    return lower;
}
/// Whether two texts are the same but for the case of ASCII letters.
inline bool SameAsciiWord(std::string_view a, std::string_view b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return UpperAscii(x) == UpperAscii(y); });
}
/// `text` without the blanks at its ends.
inline std::string_view TrimAscii(std::string_view text) noexcept {
    while (!text.empty() && IsAsciiBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsAsciiBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

}  // namespace CQXBASE
