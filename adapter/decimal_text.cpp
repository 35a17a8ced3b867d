#include "adapter/decimal_text.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace CQXDB::adapter {
namespace {

std::string Filled(std::string text, int scale) {
    const std::size_t point = text.find('.');
    if (point == std::string::npos) {
        return scale > 0 ? text.append(1, '.').append(static_cast<std::size_t>(scale), '0') : text;
    }
    const std::size_t digits = text.size() - point - 1;
    const auto wanted = static_cast<std::size_t>(scale);
    return digits < wanted ? text.append(wanted - digits, '0') : text;
}

}  // namespace

std::string DecimalOf(std::int64_t number, int scale) {
    return Filled(std::to_string(number), scale);
}

std::string DecimalOf(double number, int scale) {
    if (!std::isfinite(number)) {
        return {};
    }
    char buffer[400];  // the longest is -2^-1074 with its 324 places
    const auto [end, fault] =
        std::to_chars(buffer, buffer + sizeof buffer, number, std::chars_format::fixed);
    return fault == std::errc() ? Filled({buffer, end}, scale) : std::string();
}

}  // namespace CQXDB::adapter
