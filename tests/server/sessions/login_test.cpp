// Logins and what a session may do, as a client sees them.
#include <filesystem>

#include <gtest/gtest.h>

#include "messages/type_codes.h"
#include "server/sessions/account_store.h"
#include "server/sessions/login_throttle.h"
#include "server/sessions/password_hash.h"
#include "tests/server/test_server.h"
#include "tests/support/Platform.h"

namespace qxdb_test {
namespace {

using namespace std::chrono_literals;
using CQXBASE::kExecute;
using CQXBASE::kLogin;
using CQXBASE::kSendText;
using CQXBASE::kVirtualLogin;
using CQXBASE::kVirtualLogout;
using CQXSERVER::ServerError;

void TwoDatabases(CQXSERVER::ServerOptions& options) {
    options.databases = {{"sales", "sqlite:" + options.dataDir + "/sales.db"},
                         {"stock", "sqlite:" + options.dataDir + "/stock.db"}};
}

TEST(Login, GivesATokenAndSaysWhereOneIs) {
    TestServer server([](CQXSERVER::ServerOptions& options) {
        options.databases = {{"own", "sqlite:" + options.dataDir + "/own.db"},
                             {"far", "postgresql://u:p@127.0.0.1:1/none"}};
    });
    RawClient client = server.Connect();
    const Reply reply = client.CallString(kLogin, L"ann|~|secret|~|far");
    EXPECT_EQ(reply.code, kLogin);
    const CQXBASE::QXSesInfo distant = reply.SessionInfo();
    EXPECT_EQ(distant.code, 0U);
    EXPECT_EQ(distant.token.size(), 32U);
    EXPECT_NE(distant.info.find(L"database far (PostgreSQL)"), std::wstring::npos);
    const CQXBASE::QXSesInfo usual = client.CallString(kLogin, L"ann|~|secret").SessionInfo();
    EXPECT_NE(usual.token, distant.token);
    EXPECT_NE(usual.info.find(L"database own (SQLite)"), std::wstring::npos);
    const Reply kind = client.CallString(kVirtualLogin, L"ann|~|secret|~|far");
    EXPECT_EQ(kind.code, kVirtualLogin);
    EXPECT_EQ(kind.SessionInfo().info, L"2|~|0");
    EXPECT_EQ(client.CallString(kVirtualLogin, L"ann|~|secret").SessionInfo().info, L"0|~|0");
}

TEST(Login, ARefusalGivesNoTokenAndNoHint) {
    TestServer server;
    RawClient client = server.Connect();
    const Reply wrong = client.CallString(kLogin, L"ann|~|Secret");
    EXPECT_EQ(wrong.Error(), Number(ServerError::WrongLogin));
    EXPECT_TRUE(wrong.SessionInfo().token.empty());
    EXPECT_FALSE(wrong.SessionInfo().text.empty());
    EXPECT_EQ(client.CallString(kLogin, L"nobody|~|secret").body, wrong.body);
    for (const std::wstring& login :
         {std::wstring(), std::wstring(L"ann"), std::wstring(L"|~|secret"), std::wstring(L"ann|~|"),
          std::wstring(L"ann|~|secret|~|main|~|more"), L"ann|~|" + std::wstring(4100, L'x')}) {
        const Reply reply = client.CallString(kVirtualLogin, login);
        EXPECT_EQ(reply.Error(), Number(ServerError::MalformedLogin));
        EXPECT_TRUE(reply.SessionInfo().token.empty());
    }
}

TEST(Login, AnAccountIsKeptToItsDatabases) {
    TestServer server(TwoDatabases);
    server.AddUser("bob", "hunter2", {"stock"});
    RawClient client = server.Connect();
    EXPECT_EQ(client.CallString(kLogin, L"bob|~|hunter2|~|sales").Error(),
              Number(ServerError::ForbiddenDatabase));
    EXPECT_EQ(client.CallString(kLogin, L"bob|~|hunter2|~|none").Error(),
              Number(ServerError::UnknownDatabase));
    client.Login(L"bob", L"hunter2");
    EXPECT_EQ(client.Execute(L"CREATE TABLE t(n)").code, kExecute);
    CQXDB::QXCommand named = client.Command(L"SELECT 1", L"sales");
    EXPECT_EQ(client.Call(kExecute, named).Error(), Number(ServerError::ForbiddenDatabase));
    server.Get().Accounts().SetDatabases("bob", {"sales"});
    EXPECT_EQ(client.Call(kExecute, named).Error(), 0);
    EXPECT_EQ(client.Execute(L"SELECT 1").Error(), 0) << "the usual database follows the account";
}

TEST(Session, EveryRequestNeedsALiveToken) {
    HandClock clock;
    TestServer server([](CQXSERVER::ServerOptions& options) { options.limits.sessionIdle = 10s; },
                      clock);
    RawClient client = server.Connect();
    EXPECT_EQ(client.Handshake().Error(), 0);
    EXPECT_EQ(client.Execute(L"SELECT 1").Error(), Number(ServerError::NotLoggedIn));
    EXPECT_EQ(client.CallString(kSendText, L"hello").Error(), Number(ServerError::NotLoggedIn));
    client.token = std::wstring(32, L'0');
    EXPECT_EQ(client.Execute(L"SELECT 1").Error(), Number(ServerError::UnknownToken));
    client.Login(L"ann", L"secret");
    for (int i = 0; i < 3; ++i) {
        clock.Advance(6s);
        EXPECT_EQ(client.Handshake().Error(), 0) << "a handshake keeps a session alive";
    }
    const Reply taken = client.CallString(kSendText, std::wstring(100000, L'x'));
    EXPECT_EQ(taken.code, kSendText);
    EXPECT_EQ(taken.Status().code, 0U);
    clock.Advance(11s);
    const Reply expired = client.Handshake();
    EXPECT_EQ(expired.Error(), Number(ServerError::SessionExpired));
    EXPECT_NE(expired.Status().text.find(L"expired"), std::wstring::npos);
    client.Login(L"ann", L"secret");
    EXPECT_EQ(client.Execute(L"SELECT 1").Error(), 0);
}

TEST(Session, EndsWhenAnotherProcessChangesItsAccountOrThePassword) {
    TestServer server;
    CQXSERVER::sessions::AccountStore other(server.Folder().File("data/accounts.db"));
    RawClient client = server.LoggedIn();
    RawClient talker = server.LoggedIn();
    other.SetPassword("ann", CQXSERVER::sessions::HashPassword("new", {2, 1, 1}));
    EXPECT_EQ(talker.CallString(kSendText, L"hello").Error(), Number(ServerError::AccountChanged));
    EXPECT_EQ(client.Execute(L"SELECT 1").Error(), Number(ServerError::AccountChanged));
    client.Login(L"ann", L"new");
    RawClient second = server.Connect();
    second.Login(L"ann", L"new");
    other.Remove("ann");
    EXPECT_EQ(client.Handshake().Error(), Number(ServerError::AccountChanged));
    EXPECT_EQ(client.Execute(L"SELECT 1").Error(), Number(ServerError::UnknownToken));
    server.AddUser("ann", "new");
    EXPECT_EQ(second.Execute(L"SELECT 1").Error(), Number(ServerError::AccountChanged))
        << "the new account has the old one's session";
}

TEST(Session, FollowsWhateverFileHoldsTheAccounts) {
    if (kOnWindows) {
        GTEST_SKIP() << "an open file can't be replaced there";
    }
    namespace fs = std::filesystem;
    TestServer server;
    const fs::path store = server.Folder().Path() / "data" / "accounts.db";
    const fs::path backup = server.Folder().Path() / "backup.db";
    const fs::path letter = server.Folder().Path() / "letter.db";
    fs::copy_file(store, backup);
    WriteFile(letter, std::string(4096, 'x'));
    server.AddUser("bob", "hunter2");
    RawClient client = server.LoggedIn();
    EXPECT_EQ(client.CallString(kLogin, L"bob|~|hunter2").Error(), 0);
    client.Login(L"ann", L"secret");

    fs::remove(store);
    EXPECT_EQ(client.Execute(L"SELECT 1").Error(), Number(ServerError::Internal));
    EXPECT_EQ(client.CallString(kLogin, L"ann|~|secret").Error(), Number(ServerError::Internal));
    EXPECT_FALSE(fs::exists(store)) << "an empty store took the place of the missing one";
    fs::rename(letter, store);
    EXPECT_EQ(client.Execute(L"SELECT 1").Error(), Number(ServerError::Internal));
    fs::rename(backup, store);
    EXPECT_EQ(client.Execute(L"SELECT 1").Error(), 0);
    EXPECT_EQ(client.CallString(kLogin, L"bob|~|hunter2").Error(), Number(ServerError::WrongLogin));
}

TEST(Session, OutlivesItsConnectionAndEndsWithALogoutOfItsOwnAccount) {
    TestServer server;
    server.AddUser("bob", "hunter2");
    RawClient other = server.LoggedIn();
    RawClient first = server.LoggedIn();
    RawClient client = server.Connect();
    client.token = first.token;
    first.Close(true);
    EXPECT_EQ(client.Execute(L"SELECT 1").Error(), 0);
    EXPECT_EQ(client.CallString(kVirtualLogout, L"bob|~|hunter2").Error(),
              Number(ServerError::NotLoggedIn));
    EXPECT_EQ(client.Execute(L"SELECT 1").Error(), 0);
    const Reply done = client.CallString(kVirtualLogout, L"ann|~|secret");
    EXPECT_EQ(done.code, kVirtualLogout);
    EXPECT_EQ(done.Status().code, 0U);
    EXPECT_EQ(client.Execute(L"SELECT 1").Error(), Number(ServerError::UnknownToken));
    EXPECT_EQ(client.CallString(kVirtualLogout, L"ann|~|secret").Error(),
              Number(ServerError::NotLoggedIn));
    EXPECT_EQ(other.Execute(L"SELECT 1").Error(), 0);
}

TEST(Throttle, DelaysWhoeverGuessesAndNobodyElse) {
    HandClock clock;  // stands still, so turns only move apart
    TestServer server({}, clock);
    RawClient bystander = server.LoggedIn();
    RawClient guesser = server.Connect();
    for (unsigned i = 0; i < CQXSERVER::sessions::LoginThrottle::kFreeFailures; ++i) {
        EXPECT_EQ(guesser.CallString(kLogin, L"ann|~|guess").Error(),
                  Number(ServerError::WrongLogin));
    }
    std::vector<RawClient> waiting;
    CQXBASE::QXOneString login(L"ann|~|secret");
    for (int i = 0; i < 4; ++i) {
        waiting.push_back(server.Connect());
        waiting.back().Send(kLogin, login);
    }
    ASSERT_TRUE(Eventually([&] { return server.Get().Stats().running == 4; }));
    EXPECT_EQ(bystander.Execute(L"SELECT 1").Error(), 0);
    EXPECT_EQ(server.Get().Stats().running, 4U) << "the bystander had to wait for the guesser";
    RawClient fifth = server.Connect();
    EXPECT_EQ(fifth.CallString(kLogin, L"ann|~|secret").Error(),
              Number(ServerError::TooManyFailures));
    for (RawClient& each : waiting) {
        EXPECT_EQ(each.Receive().Error(), 0);
    }
    EXPECT_EQ(fifth.CallString(kLogin, L"ann|~|secret").Error(), 0) << "success did not reset";
}

}  // namespace
}  // namespace qxdb_test
