#include <gtest/gtest.h>

#include "errors/error_translators.h"
#include "errors/fault_names.h"
#include "errors/format_bounded.h"
#include "errors/qx_exception.h"

namespace CQXBASE {
namespace {

template <class Raise>
QX_Exception Caught(Raise raise) {
    try {
        raise();
    } catch (const QX_Exception& error) {
        return error;
    }
    ADD_FAILURE() << "nothing was thrown";
    return {L"", L"", L"", 0};
}

TEST(FaultName, UnknownCodeIsUnspecified) {
    EXPECT_STREQ(FaultName(0xC0000094), L"EXCEPTION_INT_DIVIDE_BY_ZERO");
    EXPECT_STREQ(FaultName(0xFFFFFFFF), L"EXCEPTION_CONTINUE_EXECUTION");
    EXPECT_STREQ(FaultName(15), L"EXCEPTION_MAXIMUM_PARAMETERS");
    EXPECT_STREQ(FaultName(0xE0000001), L"unspecified Structed exception.");
}

TEST(InvalidParameterHandler, NamesTheExpressionWhenThereIsOne) {
    const QX_Exception bare =
        Caught([] { InvalidParameterHandler(nullptr, L"sprintf_s", L"file", 3, 0); });
    EXPECT_EQ(bare.message, L"call function error.");
    EXPECT_EQ(bare.file, L"");
    EXPECT_EQ(bare.function, L"");
    EXPECT_EQ(bare.line, 0);
    const std::wstring shortOne = L"buffer != NULL";
    EXPECT_EQ(
        Caught([&] { InvalidParameterHandler(shortOne.c_str(), nullptr, nullptr, 0, 0); }).message,
        L"Expression: buffer != NULL");
    const std::wstring longOne(5000, L'x');
    EXPECT_EQ(
        Caught([&] { InvalidParameterHandler(longOne.c_str(), nullptr, nullptr, 0, 0); }).message,
        L"Expression: " + std::wstring(599 - 12, L'x'));
}

TEST(PurecallHandler, Throws) {
    EXPECT_EQ(Caught([] { PurecallHandler(); }).message, L"In _purecall_handler.");
}

TEST(FormatBounded, RefusesATextThatDoesNotFit) {
    char buffer[8];
    EXPECT_EQ(FormatBounded(buffer, sizeof buffer, "%d-%s", 12, "abcd"), 7U);
    EXPECT_STREQ(buffer, "12-abcd");
    EXPECT_EQ(Caught([&] { FormatBounded(buffer, sizeof buffer, "%s", "12345678"); }).message,
              L"call function error.");
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(Caught([&] { FormatBounded(nullptr, 8, "x"); }).message, L"call function error.");
}

}  // namespace
}  // namespace CQXBASE
