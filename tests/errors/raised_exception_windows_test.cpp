#include <atomic>
#include <stdexcept>
#include <string>
#include <windows.h>

#include <gmock/gmock.h>

#include "errors/caught_exception.h"
#include "errors/fault_names.h"
#include "faults.h"

// A frame of somebody else: its handler answers what the test tells it.
extern "C" EXCEPTION_DISPOSITION QXDBTestFrameHandler(EXCEPTION_RECORD*, void*, CONTEXT*, void*);
extern "C" void QXDBTestCallFramed(void (*body)());
asm(R"(
    .text
    .globl QXDBTestCallFramed
    .seh_proc QXDBTestCallFramed
    .seh_handler QXDBTestFrameHandler, @except
QXDBTestCallFramed:
    sub $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    call *%rcx
    nop
    add $40, %rsp
    ret
    .seh_endproc
)");

namespace CQXBASE::test {
namespace {

using testing::StartsWith;

thread_local DWORD tCode = 0;
thread_local DWORD tFlags = 0;
thread_local int tAsked = 0;
thread_local bool tFrameGoesOn = false;

void RaiseCode() {
    const Owner owner;
    RaiseException(tCode, tFlags, 0, nullptr);
}

std::wstring ReportOf(DWORD code, DWORD flags = 0) {
    tCode = code;
    tFlags = flags;
    return Report(RaiseCode);
}

// The table's rows, then codes that it lacks: a program's own, of the heap, of RPC, and of Windows.
constexpr DWORD kCodes[] = {
    0xC0000005, 0xC000008C, 0x80000003, 0xFFFFFFFF, 0x00000000, 0x80000002, 0x00000001, 0xC000008D,
    0xC000008E, 0xC000008F, 0xC0000090, 0xC0000091, 0xC0000092, 0xC0000093, 0x80000001, 0xC000001D,
    0xC0000006, 0xC0000094, 0xC0000095, 0xC0000026, 0xC0000008, 0x0000000F, 0xC0000025, 0xC0000096,
    0x80000004, 0xC00000FD, 0xE0000001, 0xC0000374, 0x000006BA, 0xC0000409,
};

TEST(FaultRaisedByAProgram, ArrivesWithItsNameAddressAndCode) {
    for (const DWORD code : kCodes) {
        const std::wstring start = FaultName(code) + std::wstring(L"\n address:\t0x");
        const std::wstring end = L" code:\t\t" + std::to_wstring(code) + L"\n";
        for (const DWORD flags : {DWORD{0}, DWORD{EXCEPTION_NONCONTINUABLE}, DWORD{0}}) {
            const std::wstring text = ReportOf(code, flags);
            EXPECT_THAT(text, testing::AllOf(StartsWith(start), testing::EndsWith(end)));
            EXPECT_EQ(text.size(), start.size() + 8 + end.size()) << code;
            EXPECT_EQ(LiveOwners(), 0) << "the frame that raised " << code << " is unwound";
        }
    }
}

/// Counts the exceptions of one code, and lets the program go on behind them.
class HostHandler : public testing::Test {
  protected:
    static LONG CALLBACK GoOn(EXCEPTION_POINTERS* pointers) {
        if (pointers->ExceptionRecord->ExceptionCode != tCode) {
            return EXCEPTION_CONTINUE_SEARCH;
        }
        ++tAsked;
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    void SetUp() override { tAsked = 0; }
    void TearDown() override { RemoveVectoredExceptionHandler(handle_); }

    void* handle_ = AddVectoredExceptionHandler(FALSE, GoOn);
};

TEST_F(HostHandler, GetsWhatIsRaisedOutsideRegions) {
    tCode = 0xE0000001;
    tFlags = 0;
    RaiseCode();
    EXPECT_EQ(tAsked, 1);
}

TEST_F(HostHandler, GetsNoticesToDebuggersInsideRegionsToo) {
    // Text, text in UTF-16, Ctrl+C.
    for (const DWORD code : {0x40010006UL, 0x4001000AUL, 0x40010005UL}) {
        tAsked = 0;
        EXPECT_EQ(ReportOf(code), L"");
        EXPECT_EQ(tAsked, 1) << code;
    }
    constexpr DWORD threadName = 0x406D1388;  // Wine handles it before everybody else
    EXPECT_EQ(ReportOf(threadName), L"");
    EXPECT_EQ(Report([] { OutputDebugStringA("to nobody"); }), L"");
}

TEST_F(HostHandler, GetsTheExceptionsOfAnotherCompiler) {
    EXPECT_EQ(ReportOf(0xE06D7363), L"");
    EXPECT_EQ(tAsked, 1);
}

TEST(CppException, PassesRegionsAndTheirFrames) {
    const auto thrown = [] { throw std::runtime_error("of C++"); };
    EXPECT_EQ(Report(thrown), L"of C++\n");
    EXPECT_EQ(Report([] { QXDBTestCallFramed([] { throw std::runtime_error("framed"); }); }),
              L"framed\n");
    const std::wstring inside = Report([] {
        try {
            throw 7;
        } catch (const int number) {
            throw std::runtime_error(std::to_string(number));
        }
    });
    EXPECT_EQ(inside, L"7\n");
}

/// Between the fault and the region stands a frame with a handler of its own.
class FramedFault : public testing::TestWithParam<void (*)()> {
  protected:
    void SetUp() override { tAsked = 0; }
};

TEST_P(FramedFault, IsTheRegionsWhenTheFrameDeclines) {
    static thread_local void (*fault)() = nullptr;
    fault = GetParam();
    tCode = 0xE0000001;
    tFlags = 0;
    tFrameGoesOn = false;
    for (int i = 1; i <= 3; ++i) {
        const std::wstring text = Report([] {
            const Owner owner;
            QXDBTestCallFramed(fault);
        });
        EXPECT_THAT(text, testing::HasSubstr(L"\n address:\t0x"));
        EXPECT_EQ(tAsked, i);
        EXPECT_EQ(LiveOwners(), 0);
    }
}

TEST_P(FramedFault, IsTheFramesWhenItHandlesIt) {
    static thread_local void (*fault)() = nullptr;
    fault = GetParam();
    tCode = 0xE0000001;
    tFlags = 0;
    tFrameGoesOn = true;
    EXPECT_EQ(Report([] { QXDBTestCallFramed(fault); }), L"");
    EXPECT_EQ(tAsked, 1);
}

INSTANTIATE_TEST_SUITE_P(Kinds, FramedFault, testing::Values(ExecuteIllegalInstruction, RaiseCode),
                         [](const auto& each) { return each.index == 0 ? "Processor" : "Raised"; });

}  // namespace

/// Goes on behind the fault, or declines.
EXCEPTION_DISPOSITION AnswerOfFrame(const EXCEPTION_RECORD& record, CONTEXT& context) {
    const DWORD code = record.ExceptionCode;
    if (code != 0xE0000001 && code != EXCEPTION_ILLEGAL_INSTRUCTION) {
        return ExceptionContinueSearch;
    }
    ++tAsked;
    if (!tFrameGoesOn) {
        return ExceptionContinueSearch;
    }
    context.Rip += code == EXCEPTION_ILLEGAL_INSTRUCTION ? 2 : 0;
    return ExceptionContinueExecution;
}

}  // namespace CQXBASE::test

extern "C" EXCEPTION_DISPOSITION QXDBTestFrameHandler(EXCEPTION_RECORD* record, void*,
                                                      CONTEXT* context, void*) {
    return CQXBASE::test::AnswerOfFrame(*record, *context);
}
