#include <gtest/gtest.h>

#include "messages/type_codes.h"
#include "server/server_error.h"
#include "tests/server/server_program.h"
#include "tests/server/test_server.h"

namespace qxdb_test {
namespace {

using CQXSERVER::ServerError;

class UserCommandTest : public testing::Test {
  protected:
    /// Exit status of "user ..." on the folder; what it wrote is in output_.
    int User(std::vector<std::string> arguments, const std::string& input = {}) {
        arguments.insert(arguments.begin(), "user");
        arguments.insert(arguments.end(), {"--data", folder_.File("data")});
        return RunServerProgram(arguments, input, output_);
    }

    TempDir folder_;
    std::string output_;
};

TEST_F(UserCommandTest, WorkWithoutAServer) {
    EXPECT_EQ(User({"add", "ann"}, "secret\n"), 0) << output_;
    EXPECT_EQ(User({"add", "bob", "--databases", "sales,stock"}, "hunter2\r\n"), 0) << output_;
    EXPECT_EQ(User({"list"}), 0);
    EXPECT_EQ(output_, "ann\t*\nbob\tsales,stock\n");
    EXPECT_EQ(User({"set", "bob", "--databases", "*"}), 0);
    EXPECT_EQ(User({"remove", "ann"}), 0);
    EXPECT_EQ(User({"list"}), 0);
    EXPECT_EQ(output_, "bob\t*\n");
    const std::string store = ReadFile(folder_.Path() / "data" / "accounts.db");
    EXPECT_EQ(store.find("hunter2"), std::string::npos);
}

TEST_F(UserCommandTest, SayWhatIsWrong) {
    ASSERT_EQ(User({"add", "ann"}, "secret\n"), 0);
    EXPECT_EQ(User({"add", "ann"}, "other\n"), 1);
    EXPECT_NE(output_.find("account 'ann' already"), std::string::npos);
    EXPECT_EQ(User({"passwd", "bob"}, "x\n"), 1);
    EXPECT_NE(output_.find("no account 'bob'"), std::string::npos);
    EXPECT_EQ(User({"add", "bob"}, "\n"), 1);
    EXPECT_EQ(User({"add", "bob"}, "a|~|b\n"), 1);
    EXPECT_EQ(User({"add"}), 2);
    EXPECT_EQ(User({"frobnicate"}), 2);
    EXPECT_EQ(RunServerProgram({"user", "list"}, "", output_), 1);
    EXPECT_NE(output_.find("--data"), std::string::npos);
}

TEST(ServerProgramTest, NeedsNothingButAFolder) {
    ServerProgram program;
    RawClient client = program.LoggedIn();
    EXPECT_EQ(client.Execute(L"CREATE TABLE t(n)").Error(), 0);
    EXPECT_TRUE(std::filesystem::exists(program.DataFile("main.db")));
}

TEST(ServerProgramTest, SeesAccountChangesAtOnce) {
    ServerProgram program;
    RawClient client = program.Connect();
    const std::vector<std::string> data = {"--data", program.Folder().File("data")};
    std::string output;
    const auto user = [&](std::vector<std::string> arguments, const std::string& input) {
        arguments.insert(arguments.begin(), data.begin(), data.end());
        ASSERT_EQ(RunServerProgram(arguments, input, output), 0) << output;
    };
    user({"user", "add", "bob"}, "first\n");
    client.Login(L"bob", L"first");
    user({"user", "passwd", "bob"}, "second\n");
    EXPECT_EQ(client.Execute(L"SELECT 1").Error(), Number(ServerError::AccountChanged));
    client.Login(L"bob", L"second");
    user({"user", "remove", "bob"}, "");
    EXPECT_EQ(client.CallString(CQXBASE::kLogin, L"bob|~|second").Error(),
              Number(ServerError::WrongLogin));
}

TEST(ServerProgramTest, ItsLogHoldsNoSecrets) {
    ServerProgram program("log_level = 'trace'\n");
    RawClient client = program.LoggedIn();
    client.Execute(L"SELECT 'statement-text'");
    client.CallString(CQXBASE::kSendText, L"line one\nline two");
    client.CallString(CQXBASE::kSendText, std::wstring(1000, L'q'));
    client.CallString(CQXBASE::kLogin, L"my-own-password|~|wrong-password");
    client.CallString(CQXBASE::kLogin, L"ann|~|wrong-password");
    ASSERT_TRUE(program.Process().WaitForText("wrong password for 'ann'"));
    const std::string log = program.Process().Errors();
    EXPECT_NE(log.find("'ann' logged in from 127.0.0.1"), std::string::npos);
    EXPECT_NE(log.find("'line one?line two'"), std::string::npos);
    EXPECT_NE(log.find("1000 characters"), std::string::npos);
    const std::string token(client.token.begin(), client.token.end());
    for (const std::string& secret :
         {std::string("secret"), std::string("my-own-password"), std::string("wrong-password"),
          std::string("statement-text"), std::string("qqqq"), token}) {
        EXPECT_EQ(log.find(secret), std::string::npos) << secret << " in " << log;
    }
}

TEST(ServerProgramTest, WhatKeepsItFromStartingIsSaid) {
    const TempDir folder;
    ServerProgram running;
    std::string output;
    const std::string taken = ReadFile(running.Folder().Path() / "port");
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--listen", "127.0.0.1:" + taken.substr(0, taken.size() - 1)}, "can't listen"},
        {{"--listen", "nonsense"}, "no address"},
        {{"--database", "main"}, "NAME=URL"},
        {{"--database", "main=gopher://x:secret@y"}, "database 'main'"},
        {{"--database", "a b=sqlite:x"}, "can't be a database name"},
        {{"--port-file", folder.File("missing/port")}, "port file"},
        {{"--config", folder.File("missing.toml")}, "missing.toml"},
    };
    for (const auto& [arguments, text] : cases) {
        std::vector<std::string> all = {"--data", folder.File("data"), "--listen", "127.0.0.1:0"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        if (arguments[0] == "--listen") {
            all.erase(all.begin() + 2, all.begin() + 4);
        }
        EXPECT_EQ(RunServerProgram(all, "", output), 1) << text;
        EXPECT_NE(output.find(text), std::string::npos) << output;
        EXPECT_EQ(output.find("secret"), std::string::npos) << output;
    }
}

}  // namespace
}  // namespace qxdb_test
