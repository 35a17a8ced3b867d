#include "messages/type_codes.h"

#include <cstdint>
#include <initializer_list>

#include <gtest/gtest.h>

namespace CQXBASE {
namespace {

TEST(TypeCodes, EveryRequestHasItsReply) {
    for (const std::uint32_t code : {0U, 1U, 2U, 4U, 6U, 8U, 20U, 29U, 31U}) {
        EXPECT_EQ(31U, ReplyCode(code)) << code;
    }
    for (const std::uint32_t code : {3U, 5U, 32U}) {
        EXPECT_EQ(32U, ReplyCode(code)) << code;
    }
    for (const std::uint32_t code : {7U, 33U}) {
        EXPECT_EQ(33U, ReplyCode(code)) << code;
    }
    for (const std::uint32_t code : {28U, 30U, 34U}) {
        EXPECT_EQ(34U, ReplyCode(code)) << code;
    }
}

bool IsKnown(std::uint32_t code) {
    return code <= 8 || code == 20 || (code >= 28 && code <= 34);
}

TEST(TypeCodes, OtherCodesAreUnknownAndMapToThemselves) {
    for (std::uint32_t code = 0; code < 300; ++code) {
        EXPECT_EQ(IsKnown(code), BodyOf(code) != BodyClass::None) << code;
        EXPECT_EQ(IsKnown(code) && code != 0 && code < 31, IsRequest(code)) << code;
        if (!IsKnown(code)) {
            EXPECT_EQ(code, ReplyCode(code));
        }
    }
    EXPECT_EQ(BodyClass::None, BodyOf(0xFFFFFFFF));
    EXPECT_EQ(BodyClass::None, ExpectedReply(0x80000001));
}

}  // namespace
}  // namespace CQXBASE
