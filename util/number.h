// Numbers at the start of a text, as std::from_chars reads them: in every locale alike, without a
// plus sign or blanks in front.
#pragma once

#include <charconv>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace CQXBASE {

/// std::from_chars for a double, which not every standard library has.
std::from_chars_result ReadDouble(const char* first, const char* last, double& value) noexcept;

/// True when `text` is a number of that type from its first to its last byte; else `number` may
/// have changed.
template <typename Number>
bool ReadWhole(std::string_view text, Number& number) noexcept {
    const char* const end = text.data() + text.size();
    std::from_chars_result result{};
    if constexpr (std::is_same_v<Number, double>) {
        result = ReadDouble(text.data(), end, number);
    } else {
        result = std::from_chars(text.data(), end, number);
    }
    return result.ec == std::errc() && result.ptr == end;
}

}  // namespace CQXBASE
