// Arrays of doubles: as whole numbers over a power of ten where that is exact, as prices and
// measurements mostly are, otherwise as their bits.
#pragma once

#include <cstddef>
#include <cstdint>

#include "objects/encoding/plain_bytes.h"

namespace CQXDB::encoding {

/// `bits` are the doubles' bit patterns; `count` is not 0. Every bit of every value comes back.
void PutDoubles(PlainBytes& out, const std::int64_t* bits, std::size_t count);
/// What PutDoubles adds, in bytes.
std::size_t DoublesSize(const std::int64_t* bits, std::size_t count);
/// False for an unknown coding or too few bytes.
bool GetDoubles(PlainReader& in, std::int64_t* bits, std::size_t count);

}  // namespace CQXDB::encoding
