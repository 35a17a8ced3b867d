#include <algorithm>

#include "util/surrogates.h"
#include "util/text.h"

namespace CQXBASE {
namespace {

constexpr bool kWideIsUtf16 = sizeof(wchar_t) == sizeof(char16_t);

template <class Text>
bool IsAscii(Text text) {
    char32_t bits = 0;
    for (const auto unit : text) {
        bits |= static_cast<char32_t>(unit);
    }
    return bits < 0x80;
}

struct Decoded {
    char32_t point;
    std::size_t length;  ///< bytes taken, at least 1
    bool wellFormed;
};

constexpr Decoded Malformed(std::size_t length) {
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

/// Decodes the sequence at the start of non-empty `utf8`. A malformed one takes its longest prefix
/// that could have begun a character.
Decoded DecodeFirst(std::string_view utf8) {
    const unsigned char lead = ByteAt(utf8, 0);
    const std::size_t length = SequenceLength(lead);
    if (length < 2) {
        return length == 1 ? Decoded{lead, 1, true} : Malformed(1);
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

std::wstring Utf8ToWide(std::string_view utf8) {
    if (IsAscii(utf8)) {
        return {utf8.begin(), utf8.end()};
    }
    std::wstring wide(UnitCount(utf8), L'\0');
    std::size_t used = 0;
    bool wellFormed = true;
    while (!utf8.empty()) {
        const Decoded next = DecodeFirst(utf8);
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
