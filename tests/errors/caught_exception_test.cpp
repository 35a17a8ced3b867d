// What the catch boundary reports, and what throws to it.
#include "errors/caught_exception.h"

#include <new>

#include <gtest/gtest.h>

#include "errors/error_translators.h"
#include "errors/fault_names.h"
#include "errors/format_bounded.h"

namespace CQXBASE {
namespace {

constexpr ErrorSite kSite{L"qxio", L"CQXBASE::QXIO::Syc_sendobj", 77};

/// What the boundary reports of the exception that `raise` throws.
template <class Raise>
CaughtException Catch(Raise raise, const wchar_t* unknownText = kTransferErrorText) {
    CaughtException caught{CaughtKind::Unknown, QX_Exception(L"", L"", L"", 0)};
    const int code = RunProtected(
        kSite, unknownText,
        [&]() -> int {
            raise();
            return 0;
        },
        [&](const CaughtException& seen) {
            caught = seen;
            return -5004;
        });
    EXPECT_EQ(code, -5004);
    EXPECT_EQ(caught.error.catchFile, kSite.file);
    EXPECT_EQ(caught.error.catchFunction, kSite.function);
    EXPECT_EQ(caught.error.catchLine, kSite.line);
    return caught;
}

TEST(RunProtected, KeepsTheThrowSiteOfItsOwnException) {
    int line = 0;
    const CaughtException caught = Catch([&line] {
        line = __LINE__ + 1;
        QXDB_THROW(L"too long", L"f", L"g");
    });
    EXPECT_EQ(caught.kind, CaughtKind::QxException);
    EXPECT_EQ(caught.text(), L"too long\n");
    EXPECT_EQ(caught.error.file, L"f");
    EXPECT_EQ(caught.error.function, L"g");
    EXPECT_EQ(caught.error.line, line);
}

TEST(QxException, CatchSiteKeepsItsLastRealValue) {
    QX_Exception error(L"m", L"f", L"g", 1);
    error.setCatchFile(L"file");
    error.setCatchFunction(L"function");
    error.setCatchLine(7);
    error.setCatchFile(nullptr);
    error.setCatchFunction(nullptr);
    error.setCatchLine(0);
    EXPECT_EQ(error.catchFile, L"file");
    EXPECT_EQ(error.catchFunction, L"function");
    EXPECT_EQ(error.catchLine, 7);
}

TEST(RunProtected, WidensAStandardException) {
    struct Mute : std::exception {
        const char* what() const noexcept override { return nullptr; }
    };
    const CaughtException caught = Catch([] { throw std::bad_array_new_length(); });
    EXPECT_EQ(caught.kind, CaughtKind::StdException);
    EXPECT_EQ(caught.text(), L"std::bad_array_new_length\n");
    EXPECT_EQ(caught.error.function, kSite.function);
    EXPECT_EQ(caught.error.line, kSite.line);
    EXPECT_EQ(Catch([] { throw Mute(); }).text(), L"\n");
}

TEST(RunProtected, NamesAnUnknownExceptionAsTheCallerWants) {
    const CaughtException caught = Catch([] { throw 1; });
    EXPECT_EQ(caught.kind, CaughtKind::Unknown);
    EXPECT_EQ(caught.text(), L"trans data error.\n");
    EXPECT_EQ(caught.error.file, kSite.file);
    EXPECT_EQ(Catch([] { throw 1; }, kUnexpectedErrorText).text(), L"Unexpected error.\n");
}

TEST(FaultName, UnknownCodeIsUnspecified) {
    EXPECT_STREQ(FaultName(0xC0000094), L"EXCEPTION_INT_DIVIDE_BY_ZERO");
    EXPECT_STREQ(FaultName(0xFFFFFFFF), L"EXCEPTION_CONTINUE_EXECUTION");
    EXPECT_STREQ(FaultName(15), L"EXCEPTION_MAXIMUM_PARAMETERS");
    EXPECT_STREQ(FaultName(0xE0000001), L"unspecified Structed exception.");
}

TEST(InvalidParameterHandler, NamesTheExpressionWhenThereIsOne) {
    const QX_Exception bare =
        Catch([] { InvalidParameterHandler(nullptr, L"sprintf_s", L"file", 3, 0); }).error;
    EXPECT_EQ(bare.message, L"call function error.");
    EXPECT_EQ(bare.file, L"");
    EXPECT_EQ(bare.function, L"");
    EXPECT_EQ(bare.line, 0);
    const std::wstring shortOne = L"buffer != NULL";
    EXPECT_EQ(Catch([&] {
                  InvalidParameterHandler(shortOne.c_str(), nullptr, nullptr, 0, 0);
              }).error.message,
              L"Expression: buffer != NULL");
    const std::wstring longOne(5000, L'x');
    EXPECT_EQ(Catch([&] {
                  InvalidParameterHandler(longOne.c_str(), nullptr, nullptr, 0, 0);
              }).error.message,
              L"Expression: " + std::wstring(599 - 12, L'x'));
}

TEST(FormatBounded, RefusesATextThatDoesNotFit) {
    char buffer[8];
    EXPECT_EQ(FormatBounded(buffer, sizeof buffer, "%d-%s", 12, "abcd"), 7U);
    EXPECT_STREQ(buffer, "12-abcd");
    EXPECT_EQ(Catch([&] { FormatBounded(buffer, sizeof buffer, "%s", "12345678"); }).error.message,
              L"call function error.");
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(Catch([&] { FormatBounded(nullptr, 8, "x"); }).error.message,
              L"call function error.");
}

}  // namespace
}  // namespace CQXBASE
