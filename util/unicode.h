// What the UTF-8 and UTF-16 conversions share.
#pragma once

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
