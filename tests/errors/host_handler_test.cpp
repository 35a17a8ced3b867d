#include <atomic>
#include <csetjmp>
#include <csignal>
#include <dlfcn.h>
#include <malloc.h>
#include <pthread.h>
#include <thread>

#include <gmock/gmock.h>

#include "errors/protected_region.h"
#include "faults.h"

namespace CQXBASE::test {
namespace {

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

void PlainHostHandler(int) {
    ++gHostCalls;
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
        Set(action);
    }
    explicit HostSegv(void (*plain)(int)) {
        struct sigaction action {};
        action.sa_handler = plain;
        Set(action);
    }
    ~HostSegv() { sigaction(SIGSEGV, &before_, nullptr); }
    HostSegv(const HostSegv&) = delete;
    HostSegv& operator=(const HostSegv&) = delete;

  private:
    void Set(const struct sigaction& action) {
        sigaction(SIGSEGV, &action, &before_);
        gUnderHost = before_;
        gHostCalls = 0;
    }

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

TEST(HostHandler, OfThreadsThatNeverEnterKeepsItsFaults) {
    const HostSegv host(PlainHostHandler);
    const ProtectedRegion busy;
    std::thread(FaultInHost).join();
    EXPECT_EQ(gHostCalls, 1);
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

}  // namespace
}  // namespace CQXBASE::test
