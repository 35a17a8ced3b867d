// The program as an operator runs it.
#include <algorithm>

#include <gtest/gtest.h>

#include "messages/type_codes.h"
#include "tests/server/test_server.h"
#include "tests/support/QxdbServer.h"

namespace qxdb_test {
namespace {

int RunServer(const std::vector<std::string>& arguments, const std::string& input,
              std::string& output) {
    ChildProcess::Options options;
    options.input = input;
    ChildProcess process(QXDB_SERVER_PROGRAM, arguments, options);
    const int status = process.Wait();
    output = process.Output() + process.Errors();
    output.erase(std::remove(output.begin(), output.end(), '\r'), output.end());  // of a console
    return status;
}

class UserCommandTest : public testing::Test {
  protected:
    /// Exit status of "user ..." on the folder; what it wrote is in output_.
    int User(std::vector<std::string> arguments, const std::string& input = {}) {
        arguments.insert(arguments.begin(), "user");
        arguments.insert(arguments.end(), {"--data", folder_.File("data")});
        return RunServer(arguments, input, output_);
    }

    TempDir folder_;
    std::string output_;
};

TEST_F(UserCommandTest, WorkWithoutAServer) {
    EXPECT_EQ(User({"add", "ann"}, "secret\n"), 0) << output_;
    EXPECT_EQ(User({"add", "bob", "--databases", " sales,stock, "}, "hunter2\r\n"), 0) << output_;
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
    EXPECT_EQ(RunServer({"user", "list"}, "", output_), 1);
    EXPECT_NE(output_.find("--data"), std::string::npos);
}

TEST(ServerProgram, ItsLogHoldsNoSecrets) {
    QxdbServer server(QXDB_SERVER_PROGRAM, {"--log-level", "trace"});
    RawClient client(server.Port());
    client.Login(L"ada", L"correct horse battery");
    client.Execute(L"SELECT 'statement-text'");
    client.CallString(CQXBASE::kSendText, L"line one\nline two");
    client.CallString(CQXBASE::kSendText, std::wstring(1000, L'q'));
    client.CallString(CQXBASE::kLogin, L"my-own-password|~|wrong-password");
    client.CallString(CQXBASE::kLogin, L"ada|~|wrong-password");
    ASSERT_TRUE(server.Process().WaitForText("wrong password for 'ada'"));
    const std::string log = server.Log();
    EXPECT_NE(log.find("'ada' logged in from 127.0.0.1"), std::string::npos);
    EXPECT_NE(log.find("'line one?line two'"), std::string::npos);
    EXPECT_NE(log.find("1000 characters"), std::string::npos);
    const std::string token(client.token.begin(), client.token.end());
    for (const std::string& secret :
         {std::string("correct horse"), std::string("my-own-password"),
          std::string("wrong-password"), std::string("statement-text"), token}) {
        EXPECT_EQ(log.find(secret), std::string::npos) << secret << " in " << log;
    }
}

TEST(ServerProgram, SaysWhatKeepsItFromStarting) {
    const TempDir folder;
    const QxdbServer running(QXDB_SERVER_PROGRAM);
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--listen", running.Address()}, "can't listen"},
        {{"--listen", "nonsense"}, "no address"},
        {{"--database", "main"}, "NAME=URL"},
        {{"--database", "main=gopher://x:secret@y"}, "database 'main'"},
        {{"--database", "main=postgresql://u:the/secret@h/x"}, "database 'main'"},
        {{"--database", "main=postgresql://u:secret/@h/x"}, "database 'main'"},
        {{"--database", "a b=sqlite:x"}, "can't be a database name"},
        {{"--listen", "127.0.0.1:0", "--port-file", folder.File("missing/port")}, "port file"},
        {{"--config", folder.File("missing.toml")}, "missing.toml"},
    };
    for (auto [arguments, text] : cases) {
        std::string output;
        arguments.insert(arguments.end(), {"--data", folder.File("data")});
        EXPECT_EQ(RunServer(arguments, "", output), 1) << text;
        EXPECT_NE(output.find(text), std::string::npos) << output;
        EXPECT_EQ(output.find("secret"), std::string::npos) << output;
    }
}

}  // namespace
}  // namespace qxdb_test
