#include "cli/output/notice.h"

#include <sstream>

#include <gtest/gtest.h>

namespace CQXCLI::output {
namespace {

TEST(FirstNotices, AreShownWithoutWhatATerminalObeys) {
    std::ostringstream out;
    FirstNotices notices;
    for (int i = 0; i < 22; ++i) {
        notices.Add({L"Warning", 1265, L"row " + std::to_wstring(i) + L"\x1B[2J"});
    }
    notices.Write(out);
    std::string expected;
    for (int i = 0; i < 20; ++i) {
        expected += "Warning: row " + std::to_string(i) + "\\x1b[2J\n";
    }
    EXPECT_EQ(out.str(), expected + "... and 2 more\n");
}

}  // namespace
}  // namespace CQXCLI::output
