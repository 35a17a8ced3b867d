// Numbers as byte planes: all lowest bytes, then all second bytes, and so on.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "objects/encoding/plain_bytes.h"

namespace CQXDB::encoding {

constexpr std::size_t kMaxPlanes = 8;
/// Numbers worked on at a time, so that all planes are filled while the numbers are in the first
/// cache.
constexpr std::size_t kPlaneStride = 1024;

/// Writes the low `planes` bytes of numberAt(0) to numberAt(count - 1).
template <class NumberAt>
void PutPlanes(PlainBytes& out, std::size_t count, std::size_t planes, NumberAt numberAt) {
    char* place = out.Extend(count * planes);
    std::uint64_t numbers[kPlaneStride];
    for (std::size_t start = 0; start < count && planes != 0; start += kPlaneStride) {
        const std::size_t here = std::min(kPlaneStride, count - start);
        for (std::size_t i = 0; i < here; ++i) {
            numbers[i] = numberAt(start + i);
        }
        for (std::size_t plane = 0; plane < planes; ++plane) {
            char* bytes = place + plane * count + start;
            for (std::size_t i = 0; i < here; ++i) {
                bytes[i] = static_cast<char>(numbers[i] >> (8 * plane));
            }
        }
    }
}

/// Hands take(0, number) to take(count - 1, number) what PutPlanes wrote. False for more planes
/// than a number has, or fewer bytes than the planes take.
template <class Take>
bool GetPlanes(PlainReader& in, std::size_t count, std::size_t planes, Take take) {
    const char* place = planes <= kMaxPlanes ? in.Take(count * planes) : nullptr;
    if (place == nullptr) {
        return false;
    }
    std::uint64_t numbers[kPlaneStride];
    for (std::size_t start = 0; start < count; start += kPlaneStride) {
        const std::size_t here = std::min(kPlaneStride, count - start);
        std::fill_n(numbers, here, 0);
        for (std::size_t plane = 0; plane < planes; ++plane) {
            const char* bytes = place + plane * count + start;
            for (std::size_t i = 0; i < here; ++i) {
                numbers[i] |= std::uint64_t{static_cast<std::uint8_t>(bytes[i])} << (8 * plane);
            }
        }
        for (std::size_t i = 0; i < here; ++i) {
            take(start + i, numbers[i]);
        }
    }
    return true;
}

}  // namespace CQXDB::encoding
