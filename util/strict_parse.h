// Values that have to take up a text to its end.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <system_error>
#include <type_traits>

#include "util/ascii.h"
#include "util/number.h"

namespace CQXBASE {

/// False for a text that is no number of the type, or more than one.
template <typename Number>
bool ParseWhole(std::string_view text, Number& number) noexcept {
    const char* const end = text.data() + text.size();
    std::from_chars_result result{};
    if constexpr (std::is_same_v<Number, double>) {
        result = ReadDouble(text.data(), end, number);
    } else {
        result = std::from_chars(text.data(), end, number);
    }
    return result.ec == std::errc() && result.ptr == end;
}

/// True, false, t, f, 1 or 0.
inline bool ParseFlag(std::string_view text, bool& flag) noexcept {
    flag = text == "t" || text == "true" || text == "1";
    return flag || text == "f" || text == "false" || text == "0";
}

/// True for an optional sign, digits and at most one decimal point with a digit beside it.
inline bool IsDecimal(std::string_view text) noexcept {
    if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
        text.remove_prefix(1);
    }
    const auto digits = std::count_if(text.begin(), text.end(), IsAsciiDigit);
    const auto points = std::count(text.begin(), text.end(), '.');
    return digits > 0 && points <= 1 && static_cast<std::size_t>(digits + points) == text.size();
}

}  // namespace CQXBASE
