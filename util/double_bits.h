// The bits of a double as a whole number, and back.
#pragma once

#include <cstdint>
#include <cstring>

namespace CQXBASE {

inline double BitsToDouble(std::int64_t bits) noexcept {
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

inline std::int64_t DoubleToBits(double value) noexcept {
    std::int64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

}  // namespace CQXBASE
