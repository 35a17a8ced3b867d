#include <atomic>
#include <csetjmp>
#include <csignal>
#include <dlfcn.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gmock/gmock.h>

#include "errors/caught_exception.h"
#include "faults.h"

namespace CQXBASE::test {
namespace {

using testing::KilledBySignal;
using testing::StartsWith;

sigjmp_buf gBackInHost;
std::atomic<int> gHostCalls{0};
std::atomic<void*> gHostAddress{nullptr};
struct sigaction gUnderHost {};

void HostHandler(int, siginfo_t* info, void*) {
    ++gHostCalls;
    gHostAddress = info->si_addr;
    siglongjmp(gBackInHost, 1);
}

/// Gives way to the handler that it replaced.
void PolitelyChainingHandler(int signal, siginfo_t* info, void* context) {
    ++gHostCalls;
    gUnderHost.sa_sigaction(signal, info, context);
}

/// The host's handling of SIGSEGV for one scope.
class HostSegv {
  public:
    explicit HostSegv(void (*handler)(int, siginfo_t*, void*), int flags = SA_SIGINFO) {
        struct sigaction action {};
        action.sa_sigaction = handler;
        action.sa_flags = flags;
        sigaction(SIGSEGV, &action, &before_);
        gUnderHost = before_;
        gHostCalls = 0;
    }
    ~HostSegv() { sigaction(SIGSEGV, &before_, nullptr); }
    HostSegv(const HostSegv&) = delete;
    HostSegv& operator=(const HostSegv&) = delete;

  private:
    struct sigaction before_ {};
};

/// Lets the host's own code fault and its handler jump back.
void FaultInHost() {
    if (sigsetjmp(gBackInHost, 1) == 0) {
        WriteToNull();
        ADD_FAILURE() << "did not fault";
    }
}

TEST(HostHandler, SetBeforeGetsFaultsOutsideRegions) {
    const HostSegv host(HostHandler);
    for (int i = 1; i <= 3; ++i) {
        EXPECT_THAT(Report(WriteToNull), StartsWith(L"EXCEPTION_ACCESS_VIOLATION\n"));
        gHostAddress = &gHostAddress;
        FaultInHost();
        EXPECT_EQ(gHostCalls, i);
        EXPECT_EQ(gHostAddress, nullptr) << "the address that was written to";
    }
}

TEST(HostHandler, IsUntouchedOutsideRegions) {
    const HostSegv host(HostHandler, SA_SIGINFO | SA_RESTART);
    { const ProtectedRegion region; }
    struct sigaction now {};
    sigaction(SIGSEGV, nullptr, &now);
    EXPECT_EQ(now.sa_sigaction, HostHandler);
    EXPECT_EQ(now.sa_flags & (SA_SIGINFO | SA_RESTART | SA_ONSTACK), SA_SIGINFO | SA_RESTART);
}

TEST(HostHandler, SetWhileAnotherThreadIsInARegionGetsItsFaults) {
    const ProtectedRegion busy;  // as if a slow exchange were under way
    std::thread([] {
        const HostSegv host(HostHandler);
        FaultInHost();
        EXPECT_EQ(gHostCalls, 1);
        EXPECT_THAT(Report(WriteToNull), StartsWith(L"EXCEPTION_ACCESS_VIOLATION\n"));
        FaultInHost();
        EXPECT_EQ(gHostCalls, 2);
    }).join();
    EXPECT_THAT(Report(WriteToNull), StartsWith(L"EXCEPTION_ACCESS_VIOLATION\n"));
}

TEST(HostHandler, MayCallTheOneItReplaced) {
    const HostSegv bottom(HostHandler);
    const ProtectedRegion busy;
    const HostSegv top(PolitelyChainingHandler);  // replaces ours, and calls it
    const auto faultOnce = [] {
        gHostCalls = 0;
        FaultInHost();
        EXPECT_EQ(gHostCalls, 2) << "each handler once, the chaining one first";
    };
    std::thread(faultOnce).join();
    EXPECT_THAT(Report(WriteToNull), StartsWith(L"EXCEPTION_ACCESS_VIOLATION\n"));
    std::thread([&faultOnce] {
        const ProtectedRegion retaken;
        std::thread(faultOnce).join();
    }).join();
}

TEST(HostHandler, SentSignalsAreNoFaults) {
    const HostSegv host(HostHandler);
    const ProtectedRegion region;
    if (sigsetjmp(gBackInHost, 1) == 0) {
        raise(SIGSEGV);
    }
    EXPECT_EQ(gHostCalls, 1);
}

TEST(FaultSignals, AreNeverLeftBlocked) {
    ASSERT_THAT(Report(WriteToNull), StartsWith(L"EXCEPTION_ACCESS_VIOLATION\n"));
    const auto heap = [] { return mallinfo2().uordblks; };
    const std::size_t before = heap();
    for (int i = 0; i < 10000; ++i) {
        ASSERT_THAT(Report(WriteToNull), StartsWith(L"EXCEPTION_ACCESS_VIOLATION\n"));
    }
    EXPECT_LE(heap(), before + 16 * 1024);
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    for (int signal = 1; signal < NSIG; ++signal) {
        EXPECT_NE(sigismember(&blocked, signal), 1) << signal;
    }
}

TEST(FaultSignals, BlockedByTheHostAreTranslatedAndStayBlocked) {
    std::thread([] {
        sigset_t every;
        sigfillset(&every);
        pthread_sigmask(SIG_SETMASK, &every, nullptr);
        EXPECT_THAT(Report(WriteToNull), StartsWith(L"EXCEPTION_ACCESS_VIOLATION\n"));
        sigset_t now;
        pthread_sigmask(SIG_SETMASK, nullptr, &now);
        EXPECT_EQ(sigismember(&now, SIGSEGV), 1);
        EXPECT_EQ(sigismember(&now, SIGINT), 1);
    }).join();
}

TEST(PureCall, OfTheHostsOwnLibrariesIsLeftAlone) {
    Dl_info info{};
    ASSERT_NE(dladdr(dlsym(RTLD_DEFAULT, "__cxa_pure_virtual"), &info), 0);
    EXPECT_THAT(info.dli_fname, testing::HasSubstr("libstdc++"));
}

// What ends the process without the library has to end it with the library.

class DefaultAction : public testing::Test {
  protected:
    void SetUp() override { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};

/// In the dying child: no core files in the build tree.
void NoCoreFile() {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
}

/// Runs `fault` on a thread that has entered no region, while another one is in one.
void FaultBesideARegion(void (*fault)()) {
    NoCoreFile();
    static_cast<void>(Report(WriteToNull));
    const ProtectedRegion busy;
    std::thread(fault).join();
}

TEST_F(DefaultAction, EndsTheProcessByTheFaultsOwnSignal) {
    EXPECT_EXIT(FaultBesideARegion(WriteToNull), KilledBySignal(SIGSEGV), "");
    EXPECT_EXIT(FaultBesideARegion(DivideByZero), KilledBySignal(SIGFPE), "");
    EXPECT_EXIT(FaultBesideARegion(ExecuteIllegalInstruction), KilledBySignal(SIGILL), "");
    EXPECT_EXIT(FaultBesideARegion(HitBreakpoint), KilledBySignal(SIGTRAP), "");
    EXPECT_EXIT(FaultBesideARegion([] { raise(SIGSEGV); }), KilledBySignal(SIGSEGV), "");
}

TEST_F(DefaultAction, AppliesToAnIgnoredFaultButNotToAnIgnoredSignal) {
    const auto run = [](void (*fault)()) {
        signal(SIGSEGV, SIG_IGN);
        FaultBesideARegion(fault);
        _exit(3);
    };
    EXPECT_EXIT(run(WriteToNull), KilledBySignal(SIGSEGV), "");
    EXPECT_EXIT(run([] { raise(SIGSEGV); }), testing::ExitedWithCode(3), "");
}

TEST_F(DefaultAction, FollowsAOneShotHandler) {
    const auto run = [] {
        struct sigaction action {};
        action.sa_handler = [](int) { static_cast<void>(write(2, "once ", 5)); };
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaction(SIGSEGV, &action, nullptr);
        FaultBesideARegion(WriteToNull);
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
        static_cast<void>(Report(WriteToNull));
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
