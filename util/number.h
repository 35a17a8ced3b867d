// Numbers at the start of a text, as std::from_chars reads them: in every locale alike, without a
// plus sign or blanks in front.
#pragma once

#include <charconv>

namespace CQXBASE {

/// std::from_chars for a double, which not every standard library has.
std::from_chars_result ReadDouble(const char* first, const char* last, double& value) noexcept;

}  // namespace CQXBASE
