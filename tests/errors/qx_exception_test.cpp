#include "errors/qx_exception.h"

#include <gtest/gtest.h>

namespace CQXBASE {
namespace {

TEST(QxException, DescribesTheMessageAlone) {
    QX_Exception error(L"trans data error.", L"qxio", L"CQXBASE::QXIO::Syc_sendobj", 12);
    error.setCatchFile(L"qxio");
    EXPECT_EQ(error.describe(), L"trans data error.\n");
    EXPECT_GE(error.describe().capacity(), 4096U);
    EXPECT_STREQ(error.what(), std::exception().what());
}

TEST(QxException, CatchSiteKeepsItsLastRealValue) {
    QX_Exception error(L"m", L"f", L"g", 1);
    EXPECT_EQ(error.catchLine, 0);
    error.setCatchFile(L"file");
    error.setCatchFunction(L"function");
    error.setCatchLine(7);
    error.setCatchFile(nullptr);
    error.setCatchFunction(nullptr);
    error.setCatchLine(0);
    const QX_Exception copy(error);
    EXPECT_EQ(copy.catchFile, L"file");
    EXPECT_EQ(copy.catchFunction, L"function");
    EXPECT_EQ(copy.catchLine, 7);
    error.setCatchLine(12);
    EXPECT_EQ(error.catchLine, 12);
}

TEST(QxException, ThrowSiteIsTheLineOfTheMacro) {
    int line = 0;
    try {
        line = __LINE__ + 1;
        QXDB_THROW(L"client can't is blank.", L"qxio", L"CQXBASE::QXIO::GetClientIp");
    } catch (const QX_Exception& error) {
        EXPECT_EQ(error.message, L"client can't is blank.");
        EXPECT_EQ(error.file, L"qxio");
        EXPECT_EQ(error.function, L"CQXBASE::QXIO::GetClientIp");
        EXPECT_EQ(error.line, line);
    }
    EXPECT_NE(line, 0);
}

}  // namespace
}  // namespace CQXBASE
