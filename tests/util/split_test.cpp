#include "util/split.h"

#include <gmock/gmock.h>

namespace CQXBASE {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Split, KeepsEmptyPiecesExceptTheLast) {
    EXPECT_THAT(Split(L"srv:9000", L":"), ElementsAre(L"srv", L"9000"));
    EXPECT_THAT(Split(L"srv:", L":"), ElementsAre(L"srv"));
    EXPECT_THAT(Split(L"srv", L":"), ElementsAre(L"srv"));
    EXPECT_THAT(Split(L":9000", L":"), ElementsAre(L"", L"9000"));
    EXPECT_THAT(Split(L"a|~||~|b|~|", L"|~|"), ElementsAre(L"a", L"", L"b"));
    EXPECT_THAT(Split(L"a|~b", L"|~|"), ElementsAre(L"a|~b"));
    EXPECT_THAT(Split(L"", L":"), IsEmpty());
}

TEST(PieceToLong, ReadsLeadingDigits) {
    const std::vector<std::wstring> pieces{L"080", L" -12x", L"99999999999", L"-9999999999999"};
    EXPECT_EQ(PieceToLong(pieces, 0), 80);
    EXPECT_EQ(PieceToLong(pieces, 1), -12);
    EXPECT_EQ(PieceToLong(pieces, 2), 2147483647);
    EXPECT_EQ(PieceToLong(pieces, 3), -2147483647 - 1);
}

}  // namespace
}  // namespace CQXBASE
