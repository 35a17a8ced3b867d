#include <algorithm>

#include "util/text.h"
#include "util/unicode.h"

namespace CQXBASE {
namespace {

constexpr bool NeedsPair(wchar_t unit) {
    const auto point = static_cast<char32_t>(unit);
    return point > 0xFFFF && point <= kLastCodePoint;
}

void AppendPair(std::u16string& units, wchar_t unit) {
    const auto point = static_cast<char32_t>(unit);
    units.push_back(static_cast<char16_t>(HighSurrogate(point)));
    units.push_back(static_cast<char16_t>(LowSurrogate(point)));
}

constexpr char16_t SingleUnit(wchar_t unit) {
    const auto point = static_cast<char32_t>(unit);
    return static_cast<char16_t>(point > 0xFFFF ? kReplacement : point);
}

}  // namespace

std::size_t Utf16Length(std::wstring_view text) noexcept {
    return text.size() +
           static_cast<std::size_t>(std::count_if(text.begin(), text.end(), NeedsPair));
}

std::u16string ToUtf16(std::wstring_view text) {
    std::u16string units;
    units.reserve(Utf16Length(text));
    for (const wchar_t unit : text) {
        if (NeedsPair(unit)) {
            AppendPair(units, unit);
        } else {
            units.push_back(SingleUnit(unit));
        }
    }
    return units;
}

std::wstring FromUtf16(std::u16string_view units) {
    std::wstring text;
    text.reserve(units.size());
    for (std::size_t i = 0; i < units.size(); ++i) {
        if (!kWideIsUtf16 && IsHighSurrogate(units[i]) && i + 1 < units.size() &&
            IsLowSurrogate(units[i + 1])) {
            text.push_back(static_cast<wchar_t>(CombineSurrogates(units[i], units[i + 1])));
            ++i;
        } else {
            text.push_back(static_cast<wchar_t>(units[i]));
        }
    }
    return text;
}

}  // namespace CQXBASE
