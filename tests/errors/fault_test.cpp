#include <atomic>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "errors/caught_exception.h"
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

TEST(PureCall, IsReported) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Report(CallPureVirtual), L"In _purecall_handler.\n");
    }
}

TEST(FaultTranslation, ShowsTheLow32BitsOfTheFaultingInstruction) {
    const auto function = reinterpret_cast<std::uintptr_t>(&ExecuteIllegalInstruction);
    const std::wstring text = Report(ExecuteIllegalInstruction);
    const auto address = std::stoul(text.substr(text.find(L"0x")), nullptr, 16);
    const auto offset = address - static_cast<std::uint32_t>(function);
    EXPECT_LT(offset, 64U) << "the instruction is one of the first of its function";
}

TEST(FaultTranslation, StaysInItsInnermostRegion) {
    const std::wstring outer = RunProtected(
        QXDB_SITE(L"f", L"outer"),
        [] {
            std::wstring inner = Report(DivideByZero);
            EXPECT_THAT(inner, StartsWith(L"EXCEPTION_INT_DIVIDE_BY_ZERO"));
            WriteToNull();
            return inner;
        },
        [](const CaughtException& caught) { return caught.text(); });
    EXPECT_THAT(outer, StartsWith(L"EXCEPTION_ACCESS_VIOLATION"));
}

TEST(FaultTranslation, UnwindsTheFramesBetween) {
    struct Count {
        explicit Count(int& value) : value_(value) { ++value_; }
        ~Count() { --value_; }
        int& value_;
    };
    int live = 0;
    const std::wstring text = RunProtected(
        QXDB_SITE(L"f", L"g"),
        [&live] {
            const Count first(live);
            const auto inner = [&live] {
                const Count second(live);
                WriteToNull();
            };
            inner();
            return std::wstring();
        },
        [](const CaughtException& caught) { return caught.text(); });
    EXPECT_THAT(text, StartsWith(L"EXCEPTION_ACCESS_VIOLATION"));
    EXPECT_EQ(live, 0);
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

}  // namespace
}  // namespace CQXBASE::test
