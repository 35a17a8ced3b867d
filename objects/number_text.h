// Numbers read from and written as text, the same in every locale.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace CQXDB {

/// The number at the start of `text`, after blanks and a sign; 0 when there is none. A whole number
/// saturates at the ends of the 64-bit range and stops at the decimal point.
std::int64_t ParseInt64(std::string_view text) noexcept;
/// As above; overflows to infinity and underflows to 0.
double ParseDouble(std::string_view text) noexcept;

/// The shortest text that reads back as the same number.
std::string FormatDouble(double value);

}  // namespace CQXDB
