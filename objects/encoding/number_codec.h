// Arrays of whole numbers in the fewest bytes a number that hold their range.
//
// An array travels as a coding byte, a base or two, and byte planes: the lowest byte of every
// number, then the next one of every number, and so on. Planes compress far better than whole
// numbers do, because bytes of one kind stand together.
#pragma once

#include <cstddef>
#include <cstdint>

#include "objects/encoding/plain_bytes.h"

namespace CQXDB::encoding {

/// The coding byte's parts.
constexpr std::uint8_t kPlaneCount = 0x0F;  ///< planes that follow, 0 to 8
constexpr std::uint8_t kDeltas = 0x10;      ///< the planes hold steps between neighbours

/// T is std::uint8_t, std::int32_t, std::uint32_t or std::int64_t; `count` is not 0.
template <class T>
void PutNumbers(PlainBytes& out, const T* values, std::size_t count);
/// What PutNumbers adds, in bytes.
template <class T>
std::size_t NumbersSize(const T* values, std::size_t count);
/// False for an unknown coding or too few bytes. A number too large for T loses its high bits.
template <class T>
bool GetNumbers(PlainReader& in, T* values, std::size_t count);

}  // namespace CQXDB::encoding
