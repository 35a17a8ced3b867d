#include <atomic>
#include <thread>
#include <windows.h>

#include <gmock/gmock.h>

#include "errors/protected_region.h"
#include "faults.h"

namespace CQXBASE::test {
namespace {

std::atomic<int> gHostCalls{0};

/// Goes on behind the illegal instruction.
LONG CALLBACK SkipIllegalInstruction(EXCEPTION_POINTERS* pointers) {
    if (pointers->ExceptionRecord->ExceptionCode != EXCEPTION_ILLEGAL_INSTRUCTION) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    ++gHostCalls;
    pointers->ContextRecord->Rip += 2;
    return EXCEPTION_CONTINUE_EXECUTION;
}

class HostHandler : public testing::Test {
  protected:
    void SetUp() override { gHostCalls = 0; }
    void TearDown() override { RemoveVectoredExceptionHandler(handle_); }

    void* handle_ = AddVectoredExceptionHandler(FALSE, SkipIllegalInstruction);
};

TEST_F(HostHandler, GetsFaultsOutsideRegionsOnly) {
    for (int i = 1; i <= 3; ++i) {
        EXPECT_THAT(Report(ExecuteIllegalInstruction),
                    testing::StartsWith(L"EXCEPTION_ILLEGAL_INSTRUCTION\n"));
        ExecuteIllegalInstruction();
        EXPECT_EQ(gHostCalls, i);
    }
}

TEST_F(HostHandler, OfThreadsThatNeverEnterKeepsItsFaults) {
    const ProtectedRegion busy;
    std::thread(ExecuteIllegalInstruction).join();
    EXPECT_EQ(gHostCalls, 1);
}

TEST_F(HostHandler, GetsExceptionsThatProgramsRaise) {
    const ProtectedRegion region;
    static std::atomic<int> raised{0};
    const auto count = [](EXCEPTION_POINTERS* pointers) -> LONG {
        raised += pointers->ExceptionRecord->ExceptionCode == 0xE0000001;
        return EXCEPTION_CONTINUE_EXECUTION;
    };
    void* counter = AddVectoredExceptionHandler(FALSE, count);
    RaiseException(0xE0000001, 0, 0, nullptr);
    RemoveVectoredExceptionHandler(counter);
    EXPECT_EQ(raised, 1);
}

TEST(LastError, SurvivesARegion) {
    SetLastError(1234);
    { const ProtectedRegion region; }
    EXPECT_EQ(GetLastError(), 1234U);
}

}  // namespace
}  // namespace CQXBASE::test
