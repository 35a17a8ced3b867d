#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "fault_library.h"
#include "faults.h"

namespace CQXBASE::test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::StartsWith;

struct Fault {
    const char* name;
    void (*raise)();
    const wchar_t* exception;
    const wchar_t* code;
};

class Faults : public testing::TestWithParam<Fault> {};

TEST_P(Faults, AreNamedWithAddressAndCodeAgainAndAgain) {
    const std::wstring codeText = std::wstring(L" code:\t\t") + GetParam().code + L"\n";
    const std::wstring start = std::wstring(GetParam().exception) + L"\n address:\t0x";
    for (int i = 0; i < 3; ++i) {
        const std::wstring text = Report(GetParam().raise);
        EXPECT_THAT(text, AllOf(StartsWith(start), EndsWith(codeText)));
        EXPECT_EQ(text.size(), start.size() + 8 + codeText.size()) << "eight digits of address";
    }
}

INSTANTIATE_TEST_SUITE_P(
    EachKind, Faults,
    testing::Values(
        Fault{"AccessViolation", WriteToNull, L"EXCEPTION_ACCESS_VIOLATION", L"3221225477"},
        Fault{"InTheCLibrary", CopyToNull, L"EXCEPTION_ACCESS_VIOLATION", L"3221225477"},
        Fault{"BadText", MakeStringOfBadText, L"EXCEPTION_ACCESS_VIOLATION", L"3221225477"},
        Fault{"Destructor", FaultInDestructor, L"EXCEPTION_ACCESS_VIOLATION", L"3221225477"},
        Fault{"CallOfNull", CallNullPointer, L"EXCEPTION_ACCESS_VIOLATION", L"3221225477"},
        Fault{"JumpIntoData", JumpIntoData, L"EXCEPTION_ACCESS_VIOLATION", L"3221225477"},
        Fault{"Division", DivideByZero, L"EXCEPTION_INT_DIVIDE_BY_ZERO", L"3221225620"},
        Fault{"Illegal", ExecuteIllegalInstruction, L"EXCEPTION_ILLEGAL_INSTRUCTION",
              L"3221225501"},
        Fault{"Breakpoint", HitBreakpoint, L"EXCEPTION_BREAKPOINT", L"2147483651"}),
    [](const auto& fault) { return std::string(fault.param.name); });

TEST(FaultTranslation, ShowsTheLow32BitsOfTheFaultingInstruction) {
    const auto function = reinterpret_cast<std::uintptr_t>(&ExecuteIllegalInstruction);
    const std::wstring text = Report(ExecuteIllegalInstruction);
    const auto address = std::stoul(text.substr(text.find(L"0x")), nullptr, 16);
    const auto offset = address - static_cast<std::uint32_t>(function);
    EXPECT_LT(offset, 64U) << "the instruction is one of the first of its function";
}

TEST(FaultTranslation, StaysInItsInnermostRegion) {
    const std::wstring outer = Report([] {
        EXPECT_THAT(Report(DivideByZero), StartsWith(L"EXCEPTION_INT_DIVIDE_BY_ZERO"));
        WriteToNull();
    });
    EXPECT_THAT(outer, StartsWith(L"EXCEPTION_ACCESS_VIOLATION"));
}

TEST(FaultTranslation, ServesThreadsAtOnce) {
    std::atomic<int> right{0};
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&right] {
            for (int round = 0; round < 500; ++round) {
                right += Report(WriteToNull).rfind(L"EXCEPTION_ACCESS_VIOLATION\n", 0) == 0;
                right += Report(DivideByZero).rfind(L"EXCEPTION_INT_DIVIDE_BY_ZERO\n", 0) == 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(right, 8 * 500 * 2);
}

std::wstring Of(LibraryFault fault) {
    wchar_t text[200];
    ReportOfLibrary(fault, text, std::size(text));
    return text;
}

TEST(FaultInSharedLibrary, IsReportedByItsBoundary) {
    for (int i = 0; i < 100; ++i) {
        EXPECT_THAT(Of(LibraryFault::WriteToNull), StartsWith(L"EXCEPTION_ACCESS_VIOLATION\n"));
        EXPECT_EQ(Of(LibraryFault::CallPureVirtual), L"In _purecall_handler.\n");
        EXPECT_EQ(Report(CallPureVirtual), L"In _purecall_handler.\n");
    }
    std::thread([] {
        EXPECT_THAT(Of(LibraryFault::WriteToNull), StartsWith(L"EXCEPTION_ACCESS_VIOLATION\n"));
    }).join();
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
