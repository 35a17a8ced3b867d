// Field encodings, byte for byte.
#include "objects/encoding/cdr_fields.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/objects/cdr_support.h"

namespace qxdb_test {
namespace {

using namespace CQXBASE;
using namespace std::string_literals;

TEST(CdrFields, BytesOfStringsAndNumbers) {
    ACE_OutputCDR out;
    ASSERT_TRUE(encoding::WriteULong(out, 7) && encoding::WriteWide(out, L"ab") &&
                encoding::WriteWide(out, L"") && encoding::WriteLong(out, -2) &&
                encoding::WriteNarrow(out, "xyz"));
    EXPECT_EQ(BytesOf(out), "\7\0\0\0\2\0\0\0a\0b\0\0\0\0\0\xFE\xFF\xFF\xFF\3\0\0\0xyz"s);
}

TEST(CdrFields, CountBeyondTheStreamClearsTheGoodBit) {
    Input narrow("\x05\0\0\0abcd"s);
    std::string text;
    EXPECT_FALSE(encoding::ReadNarrow(narrow.Stream(), text));
    EXPECT_FALSE(narrow.Stream().good_bit());
    EXPECT_LE(text.capacity(), std::string().capacity());
}

}  // namespace
}  // namespace qxdb_test
