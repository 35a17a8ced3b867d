#include "objects/number_text.h"

#include <charconv>
#include <limits>
#include <system_error>

#include "util/ascii.h"
#include "util/number.h"

namespace CQXDB {
namespace {

struct Signed {
    bool negative;
    std::string_view digits;
};

Signed SplitSign(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
    text.remove_prefix(start == std::string_view::npos ? text.size() : start);
    const bool negative = !text.empty() && text.front() == '-';
    if (negative || (!text.empty() && text.front() == '+')) {
        text.remove_prefix(1);
    }
    return {negative, text};
}

/// Decimal exponent of the first digit that isn't 0, as in 0.1 (-1) or 25.0 (1), without the part
/// behind "e".
std::int64_t LeadingExponent(std::string_view digits) {
    std::int64_t exponent = -1;
    bool point = false;
    bool leading = true;
    for (const char c : digits) {
        if (c == '.' && !point) {
            point = true;
        } else if (!CQXBASE::IsAsciiDigit(c)) {
            break;
        } else if (!point && !(leading && c == '0')) {
            leading = false;
            ++exponent;
        } else if (point && leading) {
            leading = c == '0';
            exponent -= leading ? 1 : 0;
        }
    }
    return exponent;
}

/// What a number that a double can't hold becomes. Exponents are far from each other's range, so
/// the sum's sign tells which end it is.
double BeyondRange(std::string_view digits) {
    std::int64_t written = 0;
    const std::size_t e = digits.find_first_of("eE");
    if (e != std::string_view::npos) {
        written = ParseInt64(digits.substr(e + 1));
    }
    const std::int64_t leading = LeadingExponent(digits);
    const bool huge = written > 0 ? leading > -written : leading + written > 0;
    return huge ? std::numeric_limits<double>::infinity() : 0.0;
}

}  // namespace

std::int64_t ParseInt64(std::string_view text) noexcept {
    const Signed number = SplitSign(text);
    if (number.digits.empty() || !CQXBASE::IsAsciiDigit(number.digits.front())) {
        return 0;
    }
    std::uint64_t value = 0;
    const char* begin = number.digits.data();
    const auto result = std::from_chars(begin, begin + number.digits.size(), value);
    const std::uint64_t limit = std::uint64_t{1} << 63;
    if (result.ec == std::errc::result_out_of_range || value >= limit) {
        return number.negative ? std::numeric_limits<std::int64_t>::min()
                               : std::numeric_limits<std::int64_t>::max();
    }
    const auto whole = static_cast<std::int64_t>(value);
    return number.negative ? -whole : whole;
}

double ParseDouble(std::string_view text) noexcept {
    const Signed number = SplitSign(text);
    if (number.digits.empty() || number.digits.front() == '-') {
        return 0;
    }
    double value = 0;
    const char* begin = number.digits.data();
    const auto result = CQXBASE::ReadDouble(begin, begin + number.digits.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        value = BeyondRange(number.digits);
    }
    return number.negative ? -value : value;
}

std::string FormatDouble(double value) {
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text, value);
    return {text, result.ptr};
}

}  // namespace CQXDB
