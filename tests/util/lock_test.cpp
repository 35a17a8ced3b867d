#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "util/auto_lock.h"
#include "util/critical_section.h"

namespace CQXBASE {
namespace {

using Guard = auto_lock<critical_section>;

TEST(AutoLock, RegionsRunOneAfterTheOther) {
    critical_section section;
    int rounds = 0;
    std::thread threads[4];
    for (std::thread& thread : threads) {
        thread = std::thread([&] {
            for (int i = 0; i < 20000; ++i) {
                const Guard guard(section);
                ++rounds;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
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
}

}  // namespace
}  // namespace CQXBASE
