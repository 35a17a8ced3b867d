#include "transport/frame.h"

namespace CQXBASE {
namespace {

constexpr std::size_t kTypeCodeAt = 4;
constexpr std::size_t kBodyLengthAt = 8;
constexpr std::size_t kPlainLengthAt = 12;

/// Bits by which byte `index` of a 32-bit word is shifted.
unsigned ShiftOf(unsigned index, bool littleEndian) noexcept {
    return 8 * (littleEndian ? index : 3 - index);
}

void PutWord(char* at, std::uint32_t word, bool littleEndian) noexcept {
    for (unsigned i = 0; i < 4; ++i) {
        at[i] = static_cast<char>(static_cast<unsigned char>(word >> ShiftOf(i, littleEndian)));
    }
}

std::uint32_t GetWord(const char* at, bool littleEndian) noexcept {
    std::uint32_t word = 0;
    for (unsigned i = 0; i < 4; ++i) {
        word |= std::uint32_t{static_cast<unsigned char>(at[i])} << ShiftOf(i, littleEndian);
    }
    return word;
}

}  // namespace

FrameHeaderBytes EncodeFrameHeader(const FrameHeader& header) noexcept {
    FrameHeaderBytes bytes{};
    bytes[0] = header.littleEndian ? 1 : 0;
    PutWord(bytes.data() + kTypeCodeAt, header.typeCode, header.littleEndian);
    PutWord(bytes.data() + kBodyLengthAt, header.bodyLength, header.littleEndian);
    PutWord(bytes.data() + kPlainLengthAt, header.plainLength, header.littleEndian);
    return bytes;
}

FrameHeader DecodeFrameHeader(const char* bytes) noexcept {
    FrameHeader header;
    header.littleEndian = bytes[0] != 0;
    header.typeCode = GetWord(bytes + kTypeCodeAt, header.littleEndian);
    header.bodyLength = GetWord(bytes + kBodyLengthAt, header.littleEndian);
    header.plainLength = GetWord(bytes + kPlainLengthAt, header.littleEndian);
    return header;
}

}  // namespace CQXBASE
