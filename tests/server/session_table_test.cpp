#include "server/session_table.h"

#include <set>

#include <gtest/gtest.h>

#include "server/server_error.h"
#include "tests/server/test_server.h"

namespace CQXSERVER {
namespace {

using namespace std::chrono_literals;
using qxdb_test::HandClock;

Account Named(const std::string& name) {
    Account account;
    account.name = name;
    account.revision = 7;
    return account;
}

ServerError ErrorOf(SessionTable& table, const std::string& token) {
    try {
        table.Require(token);
        return ServerError::None;
    } catch (const RequestRefused& e) {
        return e.Error();
    }
}

class SessionTableTest : public testing::Test {
  protected:
    static Limits SmallLimits() {
        Limits limits;
        limits.maxSessions = 3;
        limits.sessionIdle = 10s;
        limits.sessionLifetime = 60s;
        return limits;
    }

    HandClock clock_;
    SessionTable table_{SmallLimits(), clock_};
};

TEST_F(SessionTableTest, TokensAre128RandomBitsInHex) {
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        const std::string token = table_.Open(Named("ann"), "");
        EXPECT_EQ(token.size(), 32U);
        EXPECT_EQ(token.find_first_not_of("0123456789abcdef"), std::string::npos);
        seen.insert(token);
    }
    EXPECT_EQ(seen.size(), 100U);
}

TEST_F(SessionTableTest, GivesEachRefusalItsOwnError) {
    const std::string token = table_.Open(Named("ann"), "sales");
    EXPECT_EQ(table_.Require(token).account, "ann");
    EXPECT_EQ(table_.Require(token).database, "sales");
    EXPECT_EQ(table_.Require(token).accountRevision, 7);
    EXPECT_EQ(ErrorOf(table_, ""), ServerError::NotLoggedIn);
    std::string forged = token;
    forged[0] = forged[0] == '0' ? '1' : '0';
    EXPECT_EQ(ErrorOf(table_, forged), ServerError::UnknownToken);
    table_.End(token);
    table_.End(token);
    EXPECT_EQ(ErrorOf(table_, token), ServerError::UnknownToken);
}

TEST_F(SessionTableTest, ExpiresWhenUnused) {
    const std::string used = table_.Open(Named("ann"), "");
    const std::string unused = table_.Open(Named("ann"), "");
    clock_.Advance(9s);
    EXPECT_EQ(ErrorOf(table_, used), ServerError::None);
    clock_.Advance(9s);
    EXPECT_TRUE(table_.Peek(unused));
    EXPECT_EQ(ErrorOf(table_, used), ServerError::None);
    EXPECT_EQ(ErrorOf(table_, unused), ServerError::SessionExpired);
    EXPECT_EQ(ErrorOf(table_, unused), ServerError::UnknownToken);
}

TEST_F(SessionTableTest, ExpiresHoweverMuchItIsUsed) {
    const std::string token = table_.Open(Named("ann"), "");
    for (int i = 0; i < 6; ++i) {
        clock_.Advance(10s);
        EXPECT_EQ(ErrorOf(table_, token), ServerError::None);
    }
    clock_.Advance(1ms);
    EXPECT_EQ(ErrorOf(table_, token), ServerError::SessionExpired);
}

TEST_F(SessionTableTest, AFullTableGivesUpWhatIsLeastNeeded) {
    const std::string ann1 = table_.Open(Named("ann"), "");
    const std::string bob = table_.Open(Named("bob"), "");
    const std::string ann2 = table_.Open(Named("ann"), "");
    EXPECT_EQ(ErrorOf(table_, ann1), ServerError::None);  // ann2 is now the longer unused
    const std::string ann3 = table_.Open(Named("ann"), "");
    EXPECT_EQ(ErrorOf(table_, ann2), ServerError::UnknownToken);
    EXPECT_EQ(ErrorOf(table_, ann1), ServerError::None);
    EXPECT_EQ(ErrorOf(table_, bob), ServerError::None);
    EXPECT_THROW(table_.Open(Named("eve"), ""), RequestRefused);
    clock_.Advance(11s);
    EXPECT_NO_THROW(table_.Open(Named("eve"), ""));
    EXPECT_EQ(table_.Count(), 1U);
}

}  // namespace
}  // namespace CQXSERVER
