#include "server/sessions/session_table.h"

#include <gtest/gtest.h>

#include "server/server_error.h"
#include "tests/server/test_server.h"

namespace CQXSERVER {
namespace {

using namespace std::chrono_literals;

class SessionTableTest : public testing::Test {
  protected:
    static Limits SmallLimits() {
        Limits limits;
        limits.maxSessions = 3;
        limits.sessionIdle = 10s;
        limits.sessionLifetime = 60s;
        return limits;
    }
    std::string Open(const std::string& account) {
        sessions::Account owner;
        owner.name = account;
        return table_.Open(owner, "");
    }
    ServerError Use(const std::string& token) {
        try {
            table_.Require(token);
            return ServerError::None;
        } catch (const RequestRefused& e) {
            return e.Error();
        }
    }

    qxdb_test::HandClock clock_;
    sessions::SessionTable table_{SmallLimits(), clock_};
};

TEST_F(SessionTableTest, ExpiresWhenUnusedAndInTheEndHoweverMuchItIsUsed) {
    const std::string used = Open("ann");
    const std::string unused = Open("ann");
    for (int i = 0; i < 6; ++i) {
        clock_.Advance(10s);
        EXPECT_EQ(Use(used), ServerError::None);
    }
    EXPECT_EQ(Use(unused), ServerError::SessionExpired);
    EXPECT_EQ(Use(unused), ServerError::UnknownToken);
    clock_.Advance(1ms);
    EXPECT_EQ(Use(used), ServerError::SessionExpired);
}

TEST_F(SessionTableTest, AFullTableGivesUpWhatIsLeastNeeded) {
    const std::string ann1 = Open("ann");
    const std::string bob = Open("bob");
    const std::string ann2 = Open("ann");
    EXPECT_EQ(Use(ann1), ServerError::None);  // ann2 is now the longer unused
    Open("ann");
    EXPECT_EQ(Use(ann2), ServerError::UnknownToken);
    EXPECT_EQ(Use(ann1), ServerError::None);
    EXPECT_EQ(Use(bob), ServerError::None);
    EXPECT_THROW(Open("eve"), RequestRefused);
    clock_.Advance(11s);
    EXPECT_NO_THROW(Open("eve"));
    EXPECT_EQ(table_.Count(), 1U);
}

}  // namespace
}  // namespace CQXSERVER
