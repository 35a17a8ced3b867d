#include "messages/type_codes.h"

#include <cstdint>
#include <map>

#include <gtest/gtest.h>

namespace CQXBASE {
namespace {

const std::map<std::uint32_t, std::uint32_t> kReplies = {
    {0, 31},  {1, 31},  {2, 31},  {3, 32},  {4, 31},  {5, 32},  {6, 31},  {7, 33}, {8, 31},
    {20, 31}, {28, 34}, {29, 31}, {30, 34}, {31, 31}, {32, 32}, {33, 33}, {34, 34}};

TEST(TypeCodes, EveryCodeHasItsReplyAndOthersAreUnknown) {
    for (std::uint32_t code = 0; code < 300; ++code) {
        const auto known = kReplies.find(code);
        const bool isKnown = known != kReplies.end();
        EXPECT_EQ(isKnown ? known->second : code, ReplyCode(code)) << code;
        EXPECT_EQ(isKnown, BodyOf(code) != BodyClass::None) << code;
        EXPECT_EQ(isKnown && code != 0 && code < 31, IsRequest(code)) << code;
    }
    EXPECT_EQ(BodyClass::None, ExpectedReply(0xFFFFFFFF));
}

}  // namespace
}  // namespace CQXBASE
