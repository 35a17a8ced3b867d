#include <filesystem>

#include <gtest/gtest.h>

#include "server/server_error.h"
#include "server/sessions/account_store.h"
#include "server/sessions/password_hash.h"
#include "tests/support/Platform.h"
#include "tests/support/TempDir.h"

namespace CQXSERVER {
namespace {

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
        store_.Add(name, "hash", {});
        EXPECT_TRUE(store_.Find(name)) << name;
        EXPECT_THROW(store_.Add(name, "other", {}), OperatorError);
    }
    EXPECT_FALSE(store_.Find("ZOË"));
    for (const std::string& name :
         {std::string(), std::string("a|~|b"), std::string("a\nb"), std::string(129, 'x')}) {
        EXPECT_THROW(store_.Add(name, "hash", {}), OperatorError) << name;
    }
    EXPECT_THROW(store_.Add("bob", "hash", {"a b"}), OperatorError);
    EXPECT_THROW(store_.Remove("bob"), OperatorError);
    EXPECT_EQ(store_.List().size(), 5U);
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

}  // namespace
}  // namespace CQXSERVER
