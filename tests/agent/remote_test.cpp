#include <thread>

#include <gtest/gtest.h>

#include <qxdb/DBAgent.h>

#include "messages/session_records.h"
#include "messages/type_codes.h"
#include "scripted_server.h"
#include "tests/support/Frame.h"

namespace {

using namespace CQXDB;
using CQXBASE::QXSimpleMsg;
using qxdb_test::EncodeRecord;
using qxdb_test::ScriptedServer;

QXRecordset OneCell(std::int64_t value) {
    QXRecordset rs;
    rs.AddColumn("n").AppendInt64(value);
    rs.FillDone();
    return rs;
}

class RemoteAgent : public testing::Test {
  protected:
    RemoteAgent() {
        agent_.init(L"127.0.0.1:" + std::to_wstring(server_.Port()), {}, L"tok", false, L"main");
    }

    ScriptedServer server_;
    DBAgent agent_;
    long code_ = 5;
    std::wstring text_ = L"old";
    QXCommand command_{L"SELECT 1"};
    QXCommandList list_;
    QXRecordset rs_;
};

TEST_F(RemoteAgent, EachWorkOperationSendsItsCodeWithTheStampedCommand) {
    list_.Add(command_);
    QXRsList results;
    results.Add(OneCell(1));
    server_.Reply(1, std::string());
    server_.Reply(2, QXSimpleMsg(L"fine", 9), false);
    server_.Reply(3, OneCell(33));
    server_.Reply(5, OneCell(55), false);
    server_.Reply(7, std::move(results));

    agent_.Execute(code_, text_, command_);
    EXPECT_EQ(code_, 0);
    EXPECT_EQ(text_, L"");
    agent_.Execute(code_, text_, list_);
    EXPECT_EQ(code_, 0);
    agent_.OpenQuery(code_, text_, command_, rs_, 20, 3, L"elsewhere");
    EXPECT_EQ(rs_.GetInt64(0, 0), 33);
    agent_.OpenQuery(code_, text_, list_, rs_, 30, 4);
    EXPECT_EQ(rs_.GetInt64(0, 0), 55);
    QXRsList out;
    out.Add(OneCell(0));
    out.Add(OneCell(0));
    agent_.BatchQry(code_, text_, list_, out);
    EXPECT_EQ(code_, 0);
    EXPECT_EQ(out.Count(), 1U);

    const auto requests = server_.Requests();
    ASSERT_EQ(requests.size(), 5U);
    EXPECT_EQ(requests[0].code, 1U);
    EXPECT_EQ(requests[1].code, 2U);
    EXPECT_EQ(requests[2].code, 3U);
    EXPECT_EQ(requests[3].code, 5U);
    EXPECT_EQ(requests[4].code, 7U);
    EXPECT_TRUE(requests[0].enciphered);
    EXPECT_EQ(requests[4].connection, 1);
    EXPECT_EQ(requests[2].body, EncodeRecord(command_));
    EXPECT_EQ(command_.Token(), L"tok");
    EXPECT_EQ(command_.DB(), L"elsewhere");
    EXPECT_EQ(command_.PageSize(), 20);
    EXPECT_EQ(list_.PageNo(), 4);
    EXPECT_EQ(agent_.DefaultDB(), L"main");
}

TEST_F(RemoteAgent, OnlyTheSingleCommandOverloadSetsThePageOnTheRecordsetBeforeSending) {
    list_.Add(command_);
    server_.Reply(0, QXSimpleMsg(L"no", 1));
    server_.Reply(0, QXSimpleMsg(L"no", 1));
    rs_.setPageSize(1);
    agent_.OpenQuery(code_, text_, list_, rs_, 30, 4);
    EXPECT_EQ(rs_.pageSize(), 1);
    agent_.OpenQuery(code_, text_, command_, rs_, 20, 3);
    EXPECT_EQ(rs_.pageSize(), 20);
    EXPECT_EQ(rs_.currentPage(), 3);
}

TEST_F(RemoteAgent, AnErrorReplyReachesTheArguments) {
    server_.Reply(0, QXSimpleMsg(L"no such table", 5));
    agent_.Execute(code_, text_, command_);
    EXPECT_EQ(code_, 5);
    EXPECT_EQ(text_, L"no such table");
    server_.Reply(0, QXSimpleMsg(L"nothing wrong", 0));
    EXPECT_EQ(agent_.RemoteExec(code_, text_, command_, 1, nullptr), 0);
    EXPECT_EQ(code_, 0);
    EXPECT_EQ(text_, L"nothing wrong");
    server_.Reply(0, QXSimpleMsg(L"signed", static_cast<std::uint32_t>(-2147483647)));
    EXPECT_EQ(agent_.RemoteExec(code_, text_, command_, 1, nullptr), 1);
    EXPECT_EQ(code_, -2147483647L);
    EXPECT_EQ(agent_.errCode_, 0);
}

TEST_F(RemoteAgent, AReplyThatMakesNoSenseIsAnErrorAndLeavesTheObjectsAlone) {
    QXRsList list;
    list.Add(OneCell(1));
    struct Case {
        const char* what;
        std::uint32_t code;
        std::string body;
    };
    auto good = OneCell(4);
    for (const Case& c : {Case{"a result list for a recordset", 7, EncodeRecord(list)},
                          {"a status for a recordset", 1, EncodeRecord(good)},
                          {"an unknown code", 25, EncodeRecord(good)},
                          {"a code above all", 40, EncodeRecord(good)},
                          {"a truncated recordset", 3, EncodeRecord(good).substr(0, 9)},
                          {"an empty recordset body", 3, std::string()},
                          {"an undecodable error reply", 0, std::string("\1\0\0", 3)}}) {
        server_.Reply(c.code, c.body);
        code_ = 0;
        EXPECT_EQ(agent_.RemoteExec(code_, text_, command_, 3, &rs_), -1) << c.what;
        EXPECT_EQ(code_, -5005) << c.what;
        EXPECT_NE(text_, L"") << c.what;
    }
    server_.Reply(3, std::move(good));
    agent_.OpenQuery(code_, text_, command_, rs_);
    EXPECT_EQ(code_, 0);
    EXPECT_EQ(rs_.GetInt64(0, 0), 4);
}

TEST_F(RemoteAgent, TransportFailuresReachTheArgumentsAndTheNextCallReconnects) {
    server_.Hangup();
    agent_.Execute(code_, text_, command_);
    EXPECT_NE(code_, 0);
    EXPECT_NE(text_, L"");
    server_.Reply(1, std::string());
    agent_.Execute(code_, text_, command_);
    EXPECT_EQ(code_, 0);
    EXPECT_EQ(server_.Requests().back().connection, 2);
}

TEST(RemoteAgentAlone, WithoutAServerOrAListenerThereIsAnError) {
    DBAgent agent;
    long code = 0;
    std::wstring text;
    QXCommand command(L"SELECT 1");
    EXPECT_EQ(agent.RemoteExec(code, text, command, 1, nullptr), -1);
    EXPECT_EQ(code, -1);
    EXPECT_NE(text, L"");
    EXPECT_FALSE(agent.Shakehand());
    EXPECT_EQ(agent.errCode_, -1);

    std::uint16_t freePort = 0;
    { freePort = ScriptedServer().Port(); }
    agent.init(L"127.0.0.1:" + std::to_wstring(freePort), {}, L"", false);
    agent.Execute(code, text, command);
    EXPECT_EQ(code, 10061);
    EXPECT_NE(text.find(L"no listener."), std::wstring::npos);
}

// Each thread's server sees whole frames only: an interleaved one would not decipher.
TEST(RemoteAgentAlone, TwoThreadsWithTwoAgentsExchangeWholeFrames) {
    constexpr int kExchanges = 50;
    ScriptedServer servers[2];
    long failures[2] = {0, 0};
    const auto work = [&](int who) {
        DBAgent agent;
        agent.init(L"127.0.0.1:" + std::to_wstring(servers[who].Port()), {}, L"", false);
        for (int i = 0; i < kExchanges; ++i) {
            long code = 0;
            std::wstring text;
            QXCommand command(L"SELECT " + std::to_wstring(i));
            QXRecordset rs;
            agent.OpenQuery(code, text, command, rs);
            failures[who] += code != 0 || rs.GetInt64(0, 0) != who * 1000 + i;
        }
    };
    for (int who = 0; who < 2; ++who) {
        for (int i = 0; i < kExchanges; ++i) {
            servers[who].Reply(3, OneCell(who * 1000 + i));
        }
    }
    std::thread other(work, 1);
    work(0);
    other.join();
    EXPECT_EQ(failures[0], 0);
    EXPECT_EQ(failures[1], 0);
}

}  // namespace
