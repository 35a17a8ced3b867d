#include <atomic>
#include <stdexcept>
#include <thread>
#include <type_traits>

#include <gtest/gtest.h>

#include "util/auto_lock.h"
#include "util/critical_section.h"

namespace CQXBASE {
namespace {

using Guard = auto_lock<critical_section>;

TEST(AutoLock, RegionsRunOneAfterTheOther) {
    critical_section section;
    std::atomic<int> inside{0};
    std::atomic<int> overlaps{0};
    int rounds = 0;
    const auto work = [&] {
        for (int i = 0; i < 20000; ++i) {
            const Guard guard(section);
            overlaps += inside.fetch_add(1);
            ++rounds;
            inside.fetch_sub(1);
        }
    };
    std::thread threads[4];
    for (std::thread& thread : threads) {
        thread = std::thread(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(overlaps, 0);
    EXPECT_EQ(rounds, 80000);
}

TEST(AutoLock, IsRecursiveAndReleasedByAnException) {
    critical_section section;
    try {
        const Guard outer(section);
        const Guard inner(section);
        throw std::runtime_error("out");
    } catch (const std::runtime_error&) {
    }
    std::thread([&section] { const Guard free(section); }).join();
    static_assert(std::has_virtual_destructor_v<critical_section>);
    static_assert(std::has_virtual_destructor_v<Guard>);
    static_assert(!std::is_copy_constructible_v<critical_section>);
}

TEST(AutoLock, FailureOfTheSectionReachesTheCaller) {
    struct Refusing {
        void lock() { throw critical_section_error("critical_section lock exception"); }
        void unlock() { ADD_FAILURE() << "was never locked"; }
    } section;
    try {
        const auto_lock<Refusing> guard(section);
        FAIL() << "locked";
    } catch (const std::exception& error) {
        EXPECT_STREQ(error.what(), "critical_section lock exception");
    }
}

}  // namespace
}  // namespace CQXBASE
