#include "fault_library.h"

#include <string>
#include <thread>

#include <gmock/gmock.h>

#include "faults.h"

namespace CQXBASE::test {
namespace {

using testing::StartsWith;

std::wstring Of(LibraryFault fault) {
    wchar_t text[200];
    ReportOfLibrary(fault, text, std::size(text));
    return text;
}

TEST(FaultInSharedLibrary, IsReportedByItsBoundary) {
    for (int i = 0; i < 100; ++i) {
        EXPECT_THAT(Of(LibraryFault::WriteToNull), StartsWith(L"EXCEPTION_ACCESS_VIOLATION\n"));
        EXPECT_EQ(Of(LibraryFault::CallPureVirtual), L"In _purecall_handler.\n");
    }
    std::thread([] {
        EXPECT_THAT(Of(LibraryFault::WriteToNull), StartsWith(L"EXCEPTION_ACCESS_VIOLATION\n"));
    }).join();
}

TEST(FaultInSharedLibrary, OfItsCallerIsReportedToo) {
    wchar_t text[200];
    ReportOfCallback(WriteToNull, text, std::size(text));
    EXPECT_THAT(std::wstring(text), StartsWith(L"EXCEPTION_ACCESS_VIOLATION\n"));
}

TEST(FaultInSharedLibrary, NestsWithTheRegionsOfTheProgram) {
    // The program and the library each have a translator; the innermost region counts.
    wchar_t text[200];
    ReportOfCallback(
        [] {
            EXPECT_THAT(Report(DivideByZero), StartsWith(L"EXCEPTION_INT_DIVIDE_BY_ZERO\n"));
            DivideByZero();
        },
        text, std::size(text));
    EXPECT_THAT(std::wstring(text), StartsWith(L"EXCEPTION_INT_DIVIDE_BY_ZERO\n"));
    EXPECT_THAT(Report([] {
                    EXPECT_THAT(Of(LibraryFault::WriteToNull),
                                StartsWith(L"EXCEPTION_ACCESS_VIOLATION\n"));
                    DivideByZero();
                }),
                StartsWith(L"EXCEPTION_INT_DIVIDE_BY_ZERO\n"));
}

}  // namespace
}  // namespace CQXBASE::test
