#include "util/printable.h"

#include <gtest/gtest.h>

namespace CQXBASE {
namespace {

TEST(PrintableUtf8, LeavesNothingThatATerminalObeys) {
    EXPECT_EQ(PrintableUtf8("a\n\r\tb"), "a\\n\\r\\tb");
    EXPECT_EQ(PrintableUtf8("\x1b[2J\x7f"), "\\x1b[2J\\x7f");
    EXPECT_EQ(PrintableUtf8("\xC2\x9B 漢 \xE2\x80\xAE"), "\\u009b 漢 \\u202e");
    EXPECT_EQ(PrintableUtf8(std::string("a\0b", 3)), "a\\x00b");
    EXPECT_EQ(PrintableUtf8("a\xFFz\xE6\xBC"), "a\xEF\xBF\xBDz\xEF\xBF\xBD");
    EXPECT_EQ(PrintableUtf8("\xC2\x80\xC2\x9F\xC2\xA0"), "\\u0080\\u009f\xC2\xA0");
    EXPECT_EQ(PrintableUtf8("\xE2\x80\xA7\xE2\x80\xA8\xE2\x81\xA6\xE2\x81\xA9\xE2\x81\xAA"),
              "\xE2\x80\xA7\\u2028\\u2066\\u2069\xE2\x81\xAA");
}

TEST(PrintableUtf8, KeepsLinesWhenAsked) {
    EXPECT_EQ(PrintableUtf8("a\r\n\tb\rc\x9B", LineBreaks::Keep), "a\n\tb\\rc\xEF\xBF\xBD");
}

}  // namespace
}  // namespace CQXBASE
