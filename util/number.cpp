#include "util/number.h"

#ifndef __cpp_lib_to_chars
#include <algorithm>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>

#include "util/ascii.h"
#endif

namespace CQXBASE {

#ifdef __cpp_lib_to_chars

std::from_chars_result ReadDouble(const char* first, const char* last, double& value) noexcept {
    return std::from_chars(first, last, value);
}

#else

namespace {

const char* SkipDigits(const char* first, const char* last) {
    return std::find_if(first, last, [](char c) { return c < '0' || c > '9'; });
}

/// The end of a decimal number that begins at `first`; `first` when none does.
const char* EndOfNumber(const char* first, const char* last) {
    const char* at = first != last && *first == '-' ? first + 1 : first;
    const char* const whole = SkipDigits(at, last);
    bool digits = whole != at;
    at = whole;
    if (at != last && *at == '.') {
        const char* const end = SkipDigits(at + 1, last);
        digits = digits || end != at + 1;
        at = end;
    }
    if (!digits) {
        return first;
    }
    if (at != last && (*at == 'e' || *at == 'E')) {
        const char* const sign = at + 1;
        const char* const exponent =
            sign != last && (*sign == '-' || *sign == '+') ? sign + 1 : sign;
        const char* const end = SkipDigits(exponent, last);
        at = end != exponent ? end : at;
    }
    return at;
}

std::from_chars_result ReadName(const char* first, const char* last, double& value) {
    using Limits = std::numeric_limits<double>;
    constexpr std::pair<std::string_view, double> names[] = {{"INFINITY", Limits::infinity()},
                                                             {"INF", Limits::infinity()},
                                                             {"NAN", Limits::quiet_NaN()}};
    const bool negative = first != last && *first == '-';
    const char* const begin = first + (negative ? 1 : 0);
    for (const auto& [name, number] : names) {
        const auto length = static_cast<std::size_t>(last - begin);
        if (length >= name.size() && UpperAscii({begin, name.size()}) == name) {
            value = negative ? -number : number;
            return {begin + name.size(), std::errc()};
        }
    }
    return {first, std::errc::invalid_argument};
}

}  // namespace

std::from_chars_result ReadDouble(const char* first, const char* last, double& value) noexcept {
    const char* const end = EndOfNumber(first, last);
    if (end == first) {
        return ReadName(first, last, value);
    }
    std::istringstream stream(std::string(first, end));
    stream.imbue(std::locale::classic());
    double number = 0;
    stream >> number;
    // Numbers below the normal ones are read, and called a failure all the same.
    if (stream.fail() && (number == 0 || std::isinf(number))) {
        return {end, std::errc::result_out_of_range};
    }
    value = number;
    return {end, std::errc()};
}

#endif

}  // namespace CQXBASE
