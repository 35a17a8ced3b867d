// Accounts, and what their logins leave in memory.
#include <filesystem>

#include <Poco/Data/SQLite/Connector.h>
#include <Poco/Data/Session.h>
#include <gtest/gtest.h>

#include "server/server_error.h"
#include "server/sessions/account_store.h"
#include "server/sessions/login_throttle.h"
#include "server/sessions/password_hash.h"
#include "server/sessions/session_table.h"
#include "tests/server/test_server.h"
#include "tests/support/Platform.h"
#include "tests/support/TempDir.h"

namespace CQXSERVER {
namespace {

using namespace std::chrono_literals;
using qxdb_test::TempDir;

constexpr sessions::ScryptCost kCheap{4, 8, 1};

TEST(PasswordHash, MatchesItsOwnPasswordAlone) {
    const std::string stored = sessions::HashPassword("sécret", kCheap);
    EXPECT_TRUE(sessions::PasswordMatches("sécret", stored));
    for (const char* wrong : {"", "secret", "sécret ", "Sécret"}) {
        EXPECT_FALSE(sessions::PasswordMatches(wrong, stored)) << wrong;
    }
    EXPECT_NE(HashPassword("sécret", kCheap), stored) << "two hashes share a salt";
    EXPECT_TRUE(
        sessions::PasswordMatches("x", sessions::HashPassword("x", sessions::ScryptCost{5, 4, 2})));
    EXPECT_EQ(sessions::HashPassword("x").rfind("scrypt$15$8$1$", 0), 0U)
        << "the usual cost has changed";
}

TEST(PasswordHash, AMadeUpHashMatchesNothing) {
    const std::string good = sessions::HashPassword("x", kCheap);
    for (const std::string& stored :
         {std::string(), good.substr(0, good.size() - 4), "scrypt$99" + good.substr(8),
          std::string("scrypt$4$8$1$$"), std::string("scrypt$4$8$1$!!!!$AAAA"), good + "$",
          "plain" + good.substr(6)}) {
        EXPECT_FALSE(sessions::PasswordMatches("x", stored)) << stored;
        EXPECT_FALSE(sessions::PasswordMatches("", stored)) << stored;
    }
}

class AccountStoreTest : public testing::Test {
  protected:
    TempDir folder_;
    sessions::AccountStore store_{folder_.File("accounts.db")};
};

TEST_F(AccountStoreTest, TakesNamesAsTheyAreAndRefusesWhatCanBeNone) {
    for (const char* name : {"zoë", "O'Brien", "a b", "%", "\"; DROP TABLE account; --"}) {
        store_.Add(name, "hash", AllowedDatabases::All());
        EXPECT_TRUE(store_.Find(name)) << name;
        EXPECT_THROW(store_.Add(name, "other", AllowedDatabases::All()), OperatorError);
    }
    EXPECT_FALSE(store_.Find("ZOË"));
    for (const std::string& name :
         {std::string(), std::string("a|~|b"), std::string("a\nb"), std::string(129, 'x')}) {
        EXPECT_THROW(store_.Add(name, "hash", AllowedDatabases::All()), OperatorError) << name;
    }
    EXPECT_THROW(store_.Add("bob", "hash", {"a b"}), OperatorError);
    EXPECT_THROW(store_.Add("b\u009b31mob", "hash", {"a"}), OperatorError);
    EXPECT_THROW(store_.Remove("bob"), OperatorError);
    EXPECT_EQ(store_.List().size(), 5U);
}

TEST_F(AccountStoreTest, NoDatabasesAreNeverAll) {
    store_.Add("bob", "hash", {"sales", "sales"});
    for (const AllowedDatabases& none :
         {AllowedDatabases(), AllowedDatabases{""}, AllowedDatabases{"sales", ""},
          AllowedDatabases::Parse(""), AllowedDatabases::Parse(" ,, ")}) {
        EXPECT_THROW(store_.Add("eve", "hash", none), OperatorError);
        EXPECT_THROW(store_.SetDatabases("bob", none), OperatorError);
    }
    EXPECT_EQ(store_.Find("bob")->databases.Text(), "sales");
    Poco::Data::Session file(Poco::Data::SQLite::Connector::KEY, folder_.File("accounts.db"));
    file << "UPDATE account SET databases = ''", Poco::Data::Keywords::now;
    EXPECT_FALSE(store_.Find("bob")->MayUseAll());
    EXPECT_FALSE(store_.Find("bob")->MayUse("sales"));
    EXPECT_FALSE(store_.Find("bob")->MayUse(""));
    store_.SetDatabases("bob", AllowedDatabases::All());
    EXPECT_TRUE(store_.Find("bob")->MayUse("anything"));
}

TEST_F(AccountStoreTest, IsForItsOwnerOnlyAndSaysWhatDoesNotOpen) {
    namespace fs = std::filesystem;
    const fs::perms mode = fs::status(folder_.Path() / "accounts.db").permissions();
    if (!qxdb_test::kOnWindows) {  // where a file has the rights of its folder
        EXPECT_EQ(mode & (fs::perms::group_all | fs::perms::others_all), fs::perms::none);
    }
    qxdb_test::WriteFile(folder_.Path() / "letter.db", std::string(4096, 'x'));
    EXPECT_THROW(sessions::AccountStore(folder_.File("letter.db")), OperatorError);
    EXPECT_THROW(sessions::AccountStore(folder_.File("missing/accounts.db")), OperatorError);
}

class LoginThrottleTest : public testing::Test {
  protected:
    void Fail(unsigned times, const std::string& account = "ann") {
        for (unsigned i = 0; i < times; ++i) {
            throttle_.Failed(account, "10.0.0.1");
        }
    }
    std::chrono::milliseconds Admit(const std::string& account = "ann",
                                    const std::string& address = "10.0.0.1") {
        return throttle_.Admit(account, address).wait;
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

TEST_F(LoginThrottleTest, TimeForgets) {
    Fail(5);
    clock_.Advance(sessions::LoginThrottle::kMemory + 1ms);
    Fail(4);
    EXPECT_EQ(Admit(), 0ms) << "forgotten failures were counted again";
}

TEST_F(LoginThrottleTest, SlowsAnAddressThatTriesManyAccountsAndNoLoginOfItsOwnClearsIt) {
    using sessions::LoginThrottle;
    for (unsigned i = 0; i < LoginThrottle::kFreeAddressFailures; ++i) {
        EXPECT_EQ(Admit("user" + std::to_string(i)), 0ms);
        Fail(1, "user" + std::to_string(i));
        throttle_.Succeeded("attacker", "10.0.0.1");
    }
    EXPECT_EQ(Admit("one more"), 1s);
    EXPECT_EQ(Admit("one more", "10.0.0.2"), 0ms);
    clock_.Advance(LoginThrottle::kFade);
    EXPECT_EQ(Admit("one more"), 0ms) << "no failure was forgotten";
}

TEST_F(LoginThrottleTest, LeavesTheWayOpenToWhoIsKnownThere) {
    using sessions::LoginThrottle;
    throttle_.Succeeded("ann", "10.0.0.1");
    for (unsigned i = 0; i < 2 * LoginThrottle::kFreeAccountFailures; ++i) {
        Fail(1, "user" + std::to_string(i));
        throttle_.Failed("ann", "10.1.0." + std::to_string(i));
    }
    EXPECT_THROW(
        for (int i = 0; i < 2; ++i) { Admit("stranger"); }, RequestRefused);
    EXPECT_EQ(Admit("ann", "10.9.9.9"), 4s) << "guesses from many addresses add up";
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(Admit("ann"), 0ms);
    }
    EXPECT_TRUE(throttle_.Admit("ann", "10.0.0.1").known);
    EXPECT_FALSE(throttle_.Admit("bob", "10.0.0.2").known);
    Fail(LoginThrottle::kFreeFailures);
    EXPECT_EQ(Admit("ann"), 1s) << "guesses at an account where it is known are still slowed";
}

TEST_F(LoginThrottleTest, CountsAnIPv6NetworkAsOneAddress) {
    for (unsigned i = 0; i < sessions::LoginThrottle::kFreeAddressFailures; ++i) {
        throttle_.Failed("user" + std::to_string(i), "2001:db8::" + std::to_string(i));
    }
    EXPECT_EQ(Admit("one more", "2001:db8::ffff:1"), 1s);
    EXPECT_EQ(Admit("one more", "2001:db8:0:1::1"), 0ms);
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
    Open("eve");  // at the cost of who has most
    EXPECT_EQ(table_.AccountOf(ann1), "ann");
    EXPECT_EQ(Use(bob), ServerError::None);
    EXPECT_THROW(Open("zoe"), RequestRefused);
    clock_.Advance(11s);
    EXPECT_NO_THROW(Open("eve"));
    EXPECT_EQ(table_.Count(), 1U);
}

}  // namespace
}  // namespace CQXSERVER
