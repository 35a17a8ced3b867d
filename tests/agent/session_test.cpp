#include <gtest/gtest.h>

#include <qxdb/DBAgent.h>

#include "messages/session_records.h"
#include "messages/type_codes.h"
#include "scripted_server.h"
#include "tests/support/Frame.h"
#include "tests/support/TestTls.h"

namespace {

using namespace CQXDB;
using CQXBASE::QXSesInfo;
using CQXBASE::QXSimpleMsg;
using qxdb_test::EncodeRecord;
using qxdb_test::ScriptedServer;

QXSesInfo Session(std::uint32_t code, const wchar_t* text, const wchar_t* token,
                  const wchar_t* info) {
    QXSesInfo session;
    session.code = code;
    session.text = text;
    session.token = token;
    session.info = info;
    return session;
}

class AgentSession : public testing::Test {
  protected:
    AgentSession() { qxdb_test::UseTestTls(agent_); }
    bool Login(const wchar_t* host = L"127.0.0.1") {
        return agent_.Login(host, server_.Port(), {}, L"ada|~|secret", info_, token_);
    }
    bool VirLogin() {
        return agent_.VirLogin(L"127.0.0.1", server_.Port(), {}, L"ada|~|secret", token_, type_,
                               driver_);
    }

    ScriptedServer server_;
    DBAgent agent_;
    std::wstring info_;
    std::wstring token_;
    CQXDB_DSType_ENUM type_ = CQXDB_DS_EMBEDDED;
    CQXDB_DriverType_ENUM driver_ = CQXDB_DRIVER_DEFAULT;
};

TEST_F(AgentSession, LoginFillsTokenAndInfoAndARefusalEmptiesThem) {
    server_.Reply(30, Session(0, L"", L"t0k", L"welcome"));
    EXPECT_TRUE(Login());
    EXPECT_EQ(token_, L"t0k");
    EXPECT_EQ(agent_.token(), L"t0k");
    EXPECT_EQ(info_, L"welcome");
    long code = 0;
    std::wstring text;
    QXCommand command(L"SELECT 1");
    agent_.Execute(code, text, command);
    EXPECT_EQ(code, -7008) << "still local";
    EXPECT_NE(text.find(L"SetIsLocal(false)"), std::wstring::npos);
    const auto request = server_.Requests().at(0);
    EXPECT_EQ(request.code, 30U);
    CQXBASE::QXOneString login(L"ada|~|secret");
    EXPECT_EQ(request.body, EncodeRecord(login));
    server_.Hangup();
    info_ = token_ = L"stale";
    EXPECT_FALSE(Login());
    EXPECT_NE(agent_.errCode_, 0);
    EXPECT_EQ(token_, L"t0k") << "as it stood";
    EXPECT_EQ(info_, L"welcome");
    server_.Reply(30, Session(12, L"wrong password", L"", L""));
    EXPECT_FALSE(Login());
    EXPECT_EQ(agent_.errCode_, 12);
    EXPECT_EQ(agent_.errText_, L"wrong password");
    EXPECT_EQ(agent_.token(), L"");
    EXPECT_EQ(info_, L"");
    server_.Reply(0, QXSimpleMsg(L"full", 7));
    EXPECT_FALSE(VirLogin());
    EXPECT_EQ(agent_.errCode_, 7);
}

TEST_F(AgentSession, VirtualLoginTellsKindAndDriver) {
    struct Case {
        const wchar_t* info;
        int type;
        int driver;
    };
    for (const Case& c :
         {Case{L"3|~|4", 3, 4}, {L"2", 2, 4}, {L"", 0, 4}, {L"5|~||~|9", 5, 0}, {L"x|~|2", 0, 2}}) {
        server_.Reply(28, Session(0, L"", L"v", c.info));
        EXPECT_TRUE(VirLogin());
        EXPECT_EQ(type_, c.type) << QXValue::Text(c.info).ToUtf8();
        EXPECT_EQ(driver_, c.driver) << QXValue::Text(c.info).ToUtf8();
    }
    EXPECT_EQ(token_, L"v");
    EXPECT_EQ(server_.Requests().at(0).code, 28U);
}

TEST_F(AgentSession, LogoutHandshakeAndMessageAskForTheirStatus) {
    server_.Reply(28, Session(0, L"", L"v", L"0|~|0"));
    ASSERT_TRUE(VirLogin());
    server_.Reply(6, QXSimpleMsg(L"", 0));
    EXPECT_TRUE(agent_.Shakehand());
    agent_.errCode_ = 3;
    server_.Reply(6, QXSimpleMsg(L"tired", 8));
    EXPECT_FALSE(agent_.Shakehand());
    EXPECT_EQ(agent_.errCode_, 3);
    server_.Reply(4, QXSimpleMsg(L"", 0));
    EXPECT_TRUE(agent_.SendMsg(L"hello \U0001F44B"));
    EXPECT_EQ(agent_.errCode_, 3);
    EXPECT_FALSE(agent_.SendMsg(L""));
    server_.Reply(29, QXSimpleMsg(L"was not logged in", 4));
    agent_.VirLogout(L"127.0.0.1", server_.Port(), {}, L"ada|~|secret");
    EXPECT_EQ(agent_.errCode_, 0);
    EXPECT_EQ(agent_.token(), L"v");

    std::vector<std::uint32_t> codes;
    for (const auto& request : server_.Requests()) {
        codes.push_back(request.code);
    }
    EXPECT_EQ(codes, (std::vector<std::uint32_t>{28, 6, 6, 4, 29}));
}

TEST_F(AgentSession, TheSameServerInOtherCaseKeepsTheConnectionAnotherReplacesIt) {
    const std::wstring port = std::to_wstring(server_.Port());
    server_.Reply(30, Session(0, L"", L"1", L""));
    server_.Reply(30, Session(0, L"", L"2", L""));
    ASSERT_TRUE(Login(L"localhost"));
    ASSERT_TRUE(Login(L"LocalHost"));
    EXPECT_EQ(agent_.ServerName(), L"LocalHost:" + port);
    EXPECT_EQ(server_.Requests().back().connection, 1);
    server_.Reply(30, Session(0, L"", L"3", L""));
    ASSERT_TRUE(Login(L"127.0.0.1"));
    EXPECT_EQ(server_.Requests().back().connection, 2);
}

}  // namespace
