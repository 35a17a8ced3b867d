// Formatting into a buffer of fixed size.
#pragma once

#include <cstddef>

#include "platform/text/printf_like.h"

namespace CQXBASE {

/// Formats into `buffer` of `capacity` bytes, terminator included, and gives the length of the
/// text. A text that doesn't fit, like a null pointer, empties the buffer and goes to
/// InvalidParameterHandler, which throws QX_Exception "call function error.".
QXDB_PRINTF_LIKE(3, 4)
std::size_t FormatBounded(char* buffer, std::size_t capacity, const char* format, ...);

}  // namespace CQXBASE
