#include "cli/output/display_text.h"

#include <gtest/gtest.h>

#include "cli/output/progress.h"
#include "cli/prompt/line_editor.h"

namespace CQXCLI {
namespace {

TEST(DisplayWidth, CountsTheColumnsOfATerminal) {
    EXPECT_EQ(output::DisplayWidth("abc"), 3U);
    EXPECT_EQ(output::DisplayWidth("漢字"), 4U);
    EXPECT_EQ(output::DisplayWidth("e\xCC\x81t\xC3\xA9"), 3U)
        << "a combining accent takes no column";
    EXPECT_EQ(output::DisplayWidth("😀"), 2U);
    EXPECT_EQ(output::DisplayWidth("\xFF"), 1U) << "a broken byte is shown as one character";
}

TEST(Ellipsis, CutsBetweenCharacters) {
    EXPECT_EQ(output::Ellipsis("abcdef", 6), "abcdef");
    EXPECT_EQ(output::Ellipsis("abcdefg", 6), "abc...");
    EXPECT_EQ(output::Ellipsis("漢字漢字", 6), "漢...");
}

TEST(IsUtf8, RefusesBrokenText) {
    EXPECT_TRUE(output::IsUtf8("plain, é, 漢, 😀"));
    EXPECT_FALSE(output::IsUtf8("caf\xE9"));
    EXPECT_FALSE(output::IsUtf8("\xED\xA0\x80")) << "a surrogate";
    EXPECT_FALSE(output::IsUtf8("cut \xE6\xBC"));
}

TEST(ProgressText, FitsTheTerminal) {
    EXPECT_EQ(output::ProgressText(1, 4, 1234567, 0, 80),
              "[##########------------------------------]  25 %  1,234,567 rows");
    EXPECT_EQ(output::ProgressText(50, 100, 1, 10, 40), "[#######-------]  50 %  1 row  10 s left");
    EXPECT_EQ(output::ProgressText(5, 0, 999, 5, 60), "999 rows");
    EXPECT_EQ(output::ProgressText(9, 8, 1000, 5, 20).size(), 20U) << "a file that grew";
    EXPECT_EQ(output::ProgressText(1, 2, 3, 4, 0), "");
}

TEST(IsWorthRemembering, ForgetsSecrets) {
    EXPECT_TRUE(prompt::IsWorthRemembering("SELECT 1;"));
    EXPECT_FALSE(prompt::IsWorthRemembering(" SELECT 1;"));
    EXPECT_FALSE(prompt::IsWorthRemembering("ALTER USER a password 'x';"));
    EXPECT_FALSE(prompt::IsWorthRemembering("CREATE USER a IDENTIFIED BY 'x';"));
}

}  // namespace
}  // namespace CQXCLI
