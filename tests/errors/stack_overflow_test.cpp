#include <alloca.h>
#include <csignal>
#include <cstdio>
#include <functional>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <gmock/gmock.h>

#include "errors/protected_region.h"
#include "fault_library.h"
#include "faults.h"

namespace CQXBASE::test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::StartsWith;

constexpr std::size_t kStackBytes = 1024 * 1024;

/// Runs `work` on a thread with a stack of kStackBytes, some bytes deep in it.
void OnSmallStack(std::size_t depth, const std::function<void()>& work) {
    struct Start {
        std::size_t depth;
        const std::function<void()>* work;
    } start{depth, &work};
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, kStackBytes);
    pthread_t thread{};
    const auto run = [](void* argument) -> void* {
        const auto& from = *static_cast<Start*>(argument);
        auto* room = static_cast<volatile char*>(alloca(from.depth + 1));
        room[0] = 0;
        (*from.work)();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &start), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST(StackOverflow, IsReportedInProgramsAndLibraries) {
    const auto reported = AllOf(StartsWith(L"EXCEPTION_STACK_OVERFLOW\n address:\t0x"),
                                EndsWith(L" code:\t\t3221225725\n"));
    EXPECT_THAT(Report(OverflowStack), reported);
    wchar_t text[200];
    ReportOfLibrary(LibraryFault::OverflowStack, text, std::size(text));
    EXPECT_THAT(std::wstring(text), reported);
}

TEST(StackOverflow, IsReportedWhereverInTheFrameItStrikes) {
    for (std::size_t depth = 0; depth < 256; depth += 8) {
        OnSmallStack(depth, [depth] {
            EXPECT_THAT(Report(OverflowStackOfOwners), StartsWith(L"EXCEPTION_STACK_OVERFLOW\n"))
                << depth;
            EXPECT_LE(LiveOwners(), 1) << "only the object of the faulting frame may be lost";
        });
    }
}

TEST(StackOverflow, LeavesTheStackAsItWas) {
    rlimit before{};
    getrlimit(RLIMIT_STACK, &before);
    const auto overflow = [] {
        for (int i = 0; i < 18; ++i) {
            ASSERT_THAT(Report(OverflowStackOfOwners), StartsWith(L"EXCEPTION_STACK_OVERFLOW\n"));
        }
    };
    overflow();  // the first thread's stack has no fixed end
    OnSmallStack(0, overflow);
    rlimit after{};
    getrlimit(RLIMIT_STACK, &after);
    EXPECT_EQ(after.rlim_cur, before.rlim_cur);
}

TEST(StackOverflow, ThreadsGiveTheirSignalStacksBack) {
    const auto mappings = [] {
        std::size_t lines = 0;
        FILE* maps = std::fopen("/proc/self/maps", "r");
        for (int c = std::fgetc(maps); c != EOF; c = std::fgetc(maps)) {
            lines += c == '\n';
        }
        std::fclose(maps);
        return lines;
    };
    const auto enter = [] { const ProtectedRegion region; };
    OnSmallStack(0, enter);
    const std::size_t before = mappings();
    for (int i = 0; i < 180; ++i) {
        OnSmallStack(0, enter);
    }
    EXPECT_LE(mappings(), before + 2);
}

TEST(StackOverflow, KeepsASignalStackOfTheHost) {
    OnSmallStack(0, [] {
        static char memory[128 * 1024];
        stack_t host{};
        host.ss_sp = memory;
        host.ss_size = sizeof memory;
        sigaltstack(&host, nullptr);
        EXPECT_THAT(Report(OverflowStack), StartsWith(L"EXCEPTION_STACK_OVERFLOW\n"));
        stack_t now{};
        sigaltstack(nullptr, &now);
        EXPECT_EQ(now.ss_sp, memory);
        host.ss_flags = SS_DISABLE;
        sigaltstack(&host, nullptr);
    });
}

TEST(StackOverflow, LeavesAStackThatTheHostGuardsToIt) {
    OnSmallStack(0, [] {
        pthread_attr_t attributes;
        void* end = nullptr;
        std::size_t size = 0;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getstack(&attributes, &end, &size);
        pthread_attr_destroy(&attributes);
        constexpr std::size_t page = 4096;
        ASSERT_EQ(mprotect(end, page, PROT_NONE), 0);
        const ProtectedRegion region;
        volatile char* above = static_cast<char*>(end) + page;
        *above = 1;  // ends the test program if the page is closed
        EXPECT_EQ(*above, 1);
        EXPECT_EQ(mprotect(end, page, PROT_READ | PROT_WRITE), 0);
    });
}

}  // namespace
}  // namespace CQXBASE::test
