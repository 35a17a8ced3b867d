// The tables in which compilers note where a function may throw.
#pragma once

#include <cstdint>

namespace CQXBASE::platform::faults {

/// Whether the table of a function covers the place at `offset` in it. An exception from a place
/// that is left out ends the process. A table of another form than GCC and clang write is taken to
/// cover.
bool Covers(const unsigned char* table, std::uintptr_t offset) noexcept;

}  // namespace CQXBASE::platform::faults
