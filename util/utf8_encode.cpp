#include "util/text.h"
#include "util/unicode.h"

namespace CQXBASE {
namespace {

char* StoreUtf8(char* out, char32_t point) {
    const auto put = [&out](char32_t bits) { *out++ = static_cast<char>(bits); };
    const auto putTail = [&put](char32_t bits) { put(0x80 | (bits & 0x3F)); };
    if (point < 0x80) {
        put(point);
    } else if (point < 0x800) {
        put(0xC0 | (point >> 6));
        putTail(point);
    } else if (point < 0x10000) {
        put(0xE0 | (point >> 12));
        putTail(point >> 6);
        putTail(point);
    } else {
        put(0xF0 | (point >> 18));
        putTail(point >> 12);
        putTail(point >> 6);
        putTail(point);
    }
    return out;
}

/// Takes one character off the front of non-empty `text`.
char32_t TakePoint(std::wstring_view& text) {
    const auto unit = static_cast<char32_t>(text.front());
    text.remove_prefix(1);
    if (!IsSurrogate(unit)) {
        return unit <= kLastCodePoint ? unit : kReplacement;
    }
    if (!kWideIsUtf16 || !IsHighSurrogate(unit) || text.empty() ||
        !IsLowSurrogate(static_cast<char32_t>(text.front()))) {
        return kReplacement;
    }
    const auto low = static_cast<char32_t>(text.front());
    text.remove_prefix(1);
    return CombineSurrogates(unit, low);
}

/// Bytes that the text takes at most.
std::size_t Utf8Bound(std::wstring_view text) {
    std::size_t bound = text.size();
    for (const wchar_t unit : text) {
        const auto point = static_cast<char32_t>(unit);
        bound += static_cast<std::size_t>(point > 0x7F) + static_cast<std::size_t>(point > 0x7FF) +
                 static_cast<std::size_t>(point > 0xFFFF);
    }
    return bound;
}

}  // namespace

std::string WideToUtf8(std::wstring_view text) {
    if (IsAscii(text)) {
        return {text.begin(), text.end()};
    }
    std::string utf8(Utf8Bound(text), '\0');
    char* out = utf8.data();
    while (!text.empty()) {
        out = StoreUtf8(out, TakePoint(text));
    }
    utf8.resize(static_cast<std::size_t>(out - utf8.data()));
    return utf8;
}

}  // namespace CQXBASE
