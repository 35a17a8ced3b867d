// Standard error, for a program that must not fail or wait because nobody reads it.
#pragma once

#include <chrono>
#include <cstddef>
#include <string_view>

namespace CQXBASE::platform::console {

/// Writes to standard error, without a buffer, and returns how many bytes were taken: fewer than
/// all when its disk is full, its reader is gone, or there is no room for longer than `patience`.
/// On Windows it waits for room without a bound.
std::size_t WriteError(std::string_view bytes, std::chrono::milliseconds patience) noexcept;

}  // namespace CQXBASE::platform::console
