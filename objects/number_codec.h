// Arrays of whole numbers in the fewest bytes a number that hold their range.
#pragma once

#include <cstddef>
#include <cstdint>

#include "objects/plain_bytes.h"

namespace CQXDB {

/// How an array of numbers stands in a block. The numbers are wire values.
enum class NumberCoding : std::uint8_t {
    Constant = 1,  ///< the value, as a zigzag varint
    Offset8 = 2,   ///< the smallest value as above, then each one's distance from it, 1 byte
    Offset16 = 3,  ///< as above, 2 bytes
    Offset32 = 4,  ///< as above, 4 bytes
    Plain = 5,     ///< the values, 8 bytes each
};

/// T is std::uint8_t, std::int32_t, std::uint32_t or std::int64_t; `count` is not 0.
template <class T>
void PutNumbers(PlainBytes& out, const T* values, std::size_t count);
/// What PutNumbers adds, in bytes.
template <class T>
std::size_t NumbersSize(const T* values, std::size_t count);
/// False for an unknown coding or too few bytes. A number too large for T loses its high bits.
template <class T>
bool GetNumbers(PlainReader& in, T* values, std::size_t count);

}  // namespace CQXDB
