#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <io.h>
#include <thread>
#include <windows.h>

#include <gmock/gmock.h>

#include "errors/error_translators.h"
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

class HostFaultHandler : public testing::Test {
  protected:
    void SetUp() override { gHostCalls = 0; }
    void TearDown() override { RemoveVectoredExceptionHandler(handle_); }

    void* handle_ = AddVectoredExceptionHandler(FALSE, SkipIllegalInstruction);
};

TEST_F(HostFaultHandler, GetsFaultsOutsideRegionsOnly) {
    for (int i = 1; i <= 3; ++i) {
        EXPECT_THAT(Report(ExecuteIllegalInstruction),
                    testing::StartsWith(L"EXCEPTION_ILLEGAL_INSTRUCTION\n"));
        ExecuteIllegalInstruction();
        EXPECT_EQ(gHostCalls, i);
    }
}

TEST_F(HostFaultHandler, OfThreadsThatNeverEnterKeepsItsFaults) {
    const ProtectedRegion busy;
    std::thread(ExecuteIllegalInstruction).join();
    EXPECT_EQ(gHostCalls, 1);
}

TEST(InvalidParameter, IsAnErrorCodeOfThisRuntime) {
    // msvcrt.dll lets no program set a handler: what mingw-w64 sets is asked by nobody.
    const std::wstring report = Report([] {
        char small[4];
        EXPECT_EQ(strcpy_s(nullptr, 4, "a"), EINVAL);
        EXPECT_EQ(strcpy_s(small, sizeof small, "too long"), ERANGE);
        EXPECT_EQ(_itoa_s(12345, small, sizeof small, 10), ERANGE);
        EXPECT_EQ(_close(-1), -1);
        EXPECT_EQ(_get_invalid_parameter_handler(), InvalidParameterHandler);
    });
    EXPECT_EQ(report, L"");
}

TEST(LastError, SurvivesARegion) {
    SetLastError(1234);
    { const ProtectedRegion region; }
    EXPECT_EQ(GetLastError(), 1234U);
}

}  // namespace
}  // namespace CQXBASE::test
