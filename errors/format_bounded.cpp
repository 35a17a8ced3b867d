#include "errors/format_bounded.h"

#include <cstdarg>
#include <cstdio>

#include "errors/error_translators.h"

namespace CQXBASE {
namespace {

[[noreturn]] void Refuse() {
    InvalidParameterHandler(nullptr, nullptr, nullptr, 0, 0);
}

}  // namespace

std::size_t FormatBounded(char* buffer, std::size_t capacity, const char* format, ...) {
    if (buffer == nullptr || capacity == 0 || format == nullptr) {
        Refuse();
    }
    std::va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start stands above
    const int length = std::vsnprintf(buffer, capacity, format, arguments);
    va_end(arguments);
    if (length < 0 || static_cast<std::size_t>(length) >= capacity) {
        buffer[0] = '\0';
        Refuse();
    }
    return static_cast<std::size_t>(length);
}

}  // namespace CQXBASE
