#include "transport/frame.h"

#include <string>

#include <gtest/gtest.h>

namespace CQXBASE {
namespace {

std::string Text(const FrameHeaderBytes& bytes) {
    return {bytes.data(), bytes.size()};
}

TEST(FrameHeader, BytesInBothOrders) {
    FrameHeader header{0x01020304, 0xA0B0C0D0, 0xFFFFFFFF, true};
    const std::string little("\x01\0\0\0\x04\x03\x02\x01\xD0\xC0\xB0\xA0\xFF\xFF\xFF\xFF", 16);
    EXPECT_EQ(Text(EncodeFrameHeader(header)), little);
    header.littleEndian = false;
    const std::string big("\0\0\0\0\x01\x02\x03\x04\xA0\xB0\xC0\xD0\xFF\xFF\xFF\xFF", 16);
    EXPECT_EQ(Text(EncodeFrameHeader(header)), big);
}

TEST(FrameHeader, DecodesAnyBytes) {
    const FrameHeader header = DecodeFrameHeader("\0xyz\0\0\0\x22\xFF\xFF\xFF\xFE\0\0\0\x80");
    EXPECT_FALSE(header.littleEndian);
    EXPECT_EQ(header.typeCode, 34U);
    EXPECT_EQ(header.bodyLength, 0xFFFFFFFEU);
    EXPECT_EQ(header.plainLength, 128U);
}

}  // namespace
}  // namespace CQXBASE
