#include "errors/caught_exception.h"

#include <new>

#include <gtest/gtest.h>

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

TEST(RunProtected, GivesTheResultOfTheBody) {
    const int result = RunProtected(
        kSite, [] { return 3; }, [](const CaughtException&) { return -1; });
    EXPECT_EQ(result, 3);
}

TEST(RunProtected, KeepsTheThrowSiteOfItsOwnException) {
    const CaughtException caught = Catch([] { throw QX_Exception(L"too long", L"f", L"g", 5); });
    EXPECT_EQ(caught.kind, CaughtKind::QxException);
    EXPECT_EQ(caught.text(), L"too long\n");
    EXPECT_EQ(caught.error.file, L"f");
    EXPECT_EQ(caught.error.function, L"g");
    EXPECT_EQ(caught.error.line, 5);
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

}  // namespace
}  // namespace CQXBASE
