#include <atomic>
#include <csignal>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "errors/caught_exception.h"
#include "faults.h"

// What ends the process without the library has to end it with the library.

namespace CQXBASE::test {
namespace {

using testing::KilledBySignal;

class DefaultAction : public testing::Test {
  protected:
    void SetUp() override { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};

/// In the dying child: no core files in the build tree.
void NoCoreFile() {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
}

void UseTheLibrary() {
    static_cast<void>(Report(WriteToNull));
}

TEST_F(DefaultAction, EndsTheProcessByTheFaultsOwnSignal) {
    const auto die = [](void (*fault)()) {
        NoCoreFile();
        UseTheLibrary();
        const ProtectedRegion busy;
        std::thread(fault).join();
    };
    EXPECT_EXIT(die(WriteToNull), KilledBySignal(SIGSEGV), "");
    EXPECT_EXIT(die(DivideByZero), KilledBySignal(SIGFPE), "");
    EXPECT_EXIT(die(ExecuteIllegalInstruction), KilledBySignal(SIGILL), "");
    EXPECT_EXIT(die(HitBreakpoint), KilledBySignal(SIGTRAP), "");
    EXPECT_EXIT(die([] { raise(SIGSEGV); }), KilledBySignal(SIGSEGV), "");
}

TEST_F(DefaultAction, AppliesToAnIgnoredFaultButNotToAnIgnoredSignal) {
    const auto run = [](void (*fault)()) {
        NoCoreFile();
        signal(SIGSEGV, SIG_IGN);
        UseTheLibrary();
        const ProtectedRegion busy;
        std::thread(fault).join();
        _exit(3);
    };
    EXPECT_EXIT(run(WriteToNull), KilledBySignal(SIGSEGV), "");
    EXPECT_EXIT(run([] { raise(SIGSEGV); }), testing::ExitedWithCode(3), "");
}

TEST_F(DefaultAction, FollowsAOneShotHandler) {
    const auto run = [] {
        NoCoreFile();
        struct sigaction action {};
        action.sa_handler = [](int) { static_cast<void>(write(2, "once ", 5)); };
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaction(SIGSEGV, &action, nullptr);
        UseTheLibrary();
        const ProtectedRegion busy;
        std::thread(WriteToNull).join();
    };
    EXPECT_EXIT(run(), KilledBySignal(SIGSEGV), "^once $");
}

/// A function without unwind data that faults: what is behind it can't be reached by an exception.
void FaultBehindUnknownFrame() {
    // push rbp; mov rbp, rsp; sub rsp, 64; mov dword [0], eax
    constexpr unsigned char code[] = {0x55, 0x48, 0x89, 0xE5, 0x48, 0x83, 0xEC, 0x40,
                                      0x89, 0x04, 0x25, 0x00, 0x00, 0x00, 0x00};
    void* page =
        mmap(nullptr, 4096, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    __builtin_memcpy(page, code, sizeof code);
    void (*function)() = nullptr;
    __builtin_memcpy(&function, &page, sizeof page);
    function();
}

TEST_F(DefaultAction, AppliesToAFaultThatNoExceptionCouldLeave) {
    const auto run = [] {
        NoCoreFile();
        static_cast<void>(Report(FaultBehindUnknownFrame));
    };
    EXPECT_EXIT(run(), KilledBySignal(SIGSEGV), "");
}

TEST_F(DefaultAction, OfAPureCallOutsideRegionsIsTheRuntimesOwn) {
    const auto run = [] {
        NoCoreFile();
        UseTheLibrary();
        CallPureVirtual();
    };
    EXPECT_EXIT(run(), KilledBySignal(SIGABRT), "pure virtual method called");
}

TEST(ForkedChild, TranslatesItsFaults) {
    const ProtectedRegion busy;
    const pid_t child = fork();
    if (child == 0) {
        std::wstring text;
        std::thread([&text] { text = Report(WriteToNull); }).join();
        _exit(text.rfind(L"EXCEPTION_ACCESS_VIOLATION", 0) == 0 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST(CancelledThread, UnwindsThroughTheBoundary) {
    std::atomic<int> handled{0};
    const auto run = [](void* argument) -> void* {
        RunProtected(
            QXDB_SITE(L"f", L"g"),
            [] {
                for (;;) {
                    pause();
                }
                return 0;
            },
            [argument](const CaughtException&) {
                ++*static_cast<std::atomic<int>*>(argument);
                return -1;
            });
        return nullptr;
    };
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, run, &handled), 0);
    pthread_cancel(thread);
    void* result = nullptr;
    pthread_join(thread, &result);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(handled, 0);
}

}  // namespace
}  // namespace CQXBASE::test
