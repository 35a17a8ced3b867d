#include "server/sessions/login_throttle.h"

#include <gtest/gtest.h>

#include "server/server_error.h"
#include "tests/server/test_server.h"

namespace CQXSERVER {
namespace {

using namespace std::chrono_literals;

class LoginThrottleTest : public testing::Test {
  protected:
    void Fail(unsigned times, const std::string& account = "ann") {
        for (unsigned i = 0; i < times; ++i) {
            throttle_.Failed(account, "10.0.0.1");
        }
    }
    std::chrono::milliseconds Admit(const std::string& account = "ann",
                                    const std::string& address = "10.0.0.1") {
        return throttle_.Admit(account, address);
    }

    qxdb_test::HandClock clock_;
    sessions::LoginThrottle throttle_{clock_};
};

TEST_F(LoginThrottleTest, SlowsOneAccountFromOneAddressMoreWithEveryFailure) {
    Fail(4);
    EXPECT_EQ(Admit(), 0ms);
    for (const auto spacing : {1s, 2s, 4s, 4s}) {
        Fail(1);
        EXPECT_EQ(Admit(), spacing);
        EXPECT_EQ(Admit("bob"), 0ms);
        EXPECT_EQ(Admit("ann", "10.0.0.2"), 0ms);
        clock_.Advance(spacing);
    }
}

TEST_F(LoginThrottleTest, AttemptsMadeAtOnceQueueUpAndTheQueueIsShort) {
    Fail(5);
    for (const auto wait : {1s, 2s, 3s, 4s}) {
        EXPECT_EQ(Admit(), wait);
    }
    EXPECT_THROW(Admit(), RequestRefused);
    EXPECT_THROW(Admit(), RequestRefused);
    clock_.Advance(1s);
    EXPECT_EQ(Admit(), 4s) << "refused attempts took turns";
}

TEST_F(LoginThrottleTest, SuccessAndTimeForget) {
    Fail(5);
    throttle_.Succeeded("ann", "10.0.0.1");
    EXPECT_EQ(Admit(), 0ms);
    Fail(5);
    clock_.Advance(sessions::LoginThrottle::kMemory + 1ms);
    Fail(4);
    EXPECT_EQ(Admit(), 0ms) << "forgotten failures were counted again";
}

TEST_F(LoginThrottleTest, SlowsAnAddressThatTriesManyAccounts) {
    for (unsigned i = 0; i < sessions::LoginThrottle::kFreeAddressFailures; ++i) {
        EXPECT_EQ(Admit("user" + std::to_string(i)), 0ms);
        Fail(1, "user" + std::to_string(i));
    }
    EXPECT_EQ(Admit("one more"), 1s);
    EXPECT_EQ(Admit("one more", "10.0.0.2"), 0ms);
}

}  // namespace
}  // namespace CQXSERVER
