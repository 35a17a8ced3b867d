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

}  // namespace CQXBASE
