// The 16 bytes that stand before the body of every object frame.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace CQXBASE {

constexpr std::size_t kFrameHeaderSize = 16;

/// Longer bodies travel plain, so that a very large result isn't held in memory twice.
constexpr std::size_t kMaxEncipheredBody = std::size_t{40} * 1024 * 1024;

struct FrameHeader {
    std::uint32_t typeCode = 0;
    std::uint32_t bodyLength = 0;   ///< bytes that follow the header, as they travel
    std::uint32_t plainLength = 0;  ///< 0: the body is plain; else its length before encipherment
    /// Byte order of the header and of a plain body. A deciphered body is always little-endian.
    bool littleEndian = true;
};

using FrameHeaderBytes = std::array<char, kFrameHeaderSize>;

/// In the byte order that the header names. The alignment bytes are zero.
FrameHeaderBytes EncodeFrameHeader(const FrameHeader& header) noexcept;

/// Takes any 16 bytes: a first byte of 0 means big-endian, every other value little-endian. The
/// lengths are the peer's claim; check them against what is really there.
FrameHeader DecodeFrameHeader(const char* bytes) noexcept;

}  // namespace CQXBASE
