#include <algorithm>

#include "util/text.h"
#include "util/unicode.h"

namespace CQXBASE {
namespace {

constexpr Utf8Point Malformed(std::size_t length) {
    return {kReplacement, length, false};
}

constexpr unsigned char ByteAt(std::string_view utf8, std::size_t at) {
    return static_cast<unsigned char>(utf8[at]);
}

/// Length that the lead byte announces; 0 for a byte that can't lead.
constexpr std::size_t SequenceLength(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

/// Overlong forms, surrogates and points past the last one show in the second byte.
constexpr bool SecondByteFits(unsigned char lead, unsigned char second) {
    const unsigned char lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned char highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    return second >= lowest && second <= highest;
}

/// Units that well-formed text decodes to.
std::size_t UnitCount(std::string_view utf8) {
    const auto starts = std::count_if(
        utf8.begin(), utf8.end(), [](char byte) { return static_cast<signed char>(byte) > -65; });
    const auto pairs = !kWideIsUtf16 ? 0 : std::count_if(utf8.begin(), utf8.end(), [](char byte) {
        return static_cast<unsigned char>(byte) >= 0xF0;
    });
    return static_cast<std::size_t>(starts + pairs);
}

wchar_t* StoreWide(wchar_t* out, char32_t point) {
    if (kWideIsUtf16 && point > 0xFFFF) {
        *out++ = static_cast<wchar_t>(HighSurrogate(point));
        point = LowSurrogate(point);
    }
    *out++ = static_cast<wchar_t>(point);
    return out;
}

}  // namespace

Utf8Point FirstPoint(std::string_view utf8) noexcept {
    const unsigned char lead = ByteAt(utf8, 0);
    const std::size_t length = SequenceLength(lead);
    if (length < 2) {
        return length == 1 ? Utf8Point{lead, 1, true} : Malformed(1);
    }
    char32_t point = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const bool fits = i < utf8.size() && (i == 1 ? SecondByteFits(lead, ByteAt(utf8, 1))
                                                     : (ByteAt(utf8, i) & 0xC0) == 0x80);
        if (!fits) {
            return Malformed(i);
        }
        point = (point << 6) | (ByteAt(utf8, i) & 0x3FU);
    }
    return {point, length, true};
}

std::wstring Utf8ToWide(std::string_view utf8) {
    if (IsAscii(utf8)) {
        return {utf8.begin(), utf8.end()};
    }
    std::wstring wide(UnitCount(utf8), L'\0');
    std::size_t used = 0;
    bool wellFormed = true;
    while (!utf8.empty()) {
        const Utf8Point next = FirstPoint(utf8);
        if (wellFormed && !next.wellFormed) {
            wellFormed = false;
            wide.resize(used + utf8.size());
        }
        utf8.remove_prefix(next.length);
        used = static_cast<std::size_t>(StoreWide(wide.data() + used, next.point) - wide.data());
    }
    wide.resize(used);
    return wide;
}

}  // namespace CQXBASE
