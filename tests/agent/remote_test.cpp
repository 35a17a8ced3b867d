#include <algorithm>
#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <random>

#include <ace/CDR_Stream.h>
#include <ace/INET_Addr.h>
#include <ace/SOCK_Acceptor.h>
#include <ace/SOCK_Stream.h>
#include <gtest/gtest.h>

#include <qxdb/DBAgent.h>

#include "errors/qx_exception.h"
#include "messages/session_records.h"
#include "messages/type_codes.h"
#include "scripted_server.h"
#include "tests/support/Frame.h"
#include "tests/support/TestTls.h"
#include "transport/frame.h"

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
        qxdb_test::UseTestTls(agent_);
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
    EXPECT_NE(requests[0].enciphered, qxdb_test::TestsRunOverTls());
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
    rs_ = OneCell(6);
    agent_.OpenQuery(code_, text_, command_, rs_, 20, 3);
    EXPECT_EQ(rs_.pageSize(), 20);
    EXPECT_EQ(rs_.currentPage(), 3);
    EXPECT_EQ(rs_.GetInt64(0, 0), 6) << "what it held, as the query failed";
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
    auto good = OneCell(4);
    QXRsList list;
    list.Add(OneCell(1));
    server_.Reply(7, std::move(list));
    EXPECT_EQ(agent_.RemoteExec(code_, text_, command_, 3, &rs_), -1);
    EXPECT_EQ(code_, -5005);
    EXPECT_NE(text_, L"");
    EXPECT_EQ(rs_.RowCount(), 0U);
    class Faulty : public QXRecordset {
        int fromCDR(ACE_InputCDR& /*in*/) override {
            QXDB_THROW(L"EXCEPTION_ACCESS_VIOLATION", L"", L"");
        }
    } faulty;
    server_.Reply(3, EncodeRecord(good));
    EXPECT_EQ(agent_.RemoteExec(code_, text_, command_, 3, &faulty), -1);
    EXPECT_EQ(code_, -5005);
    EXPECT_EQ(text_, L"decoding the server's reply failed: EXCEPTION_ACCESS_VIOLATION\n");
    server_.Reply(3, std::move(good));
    agent_.OpenQuery(code_, text_, command_, rs_);
    EXPECT_EQ(code_, 0);
    EXPECT_EQ(rs_.GetInt64(0, 0), 4);
}

// A caller who shows `rs` without a look at the code would show rows of another query.
TEST_F(RemoteAgent, WhatAFailedQueryLeavesDependsOnHowFarItsReplyWasRead) {
    list_.Add(command_);
    agent_.SetMaxReplyBytes(4096);
    QXRecordset dull;
    for (int i = 0; i < 1000; ++i) {
        (i == 0 ? dull.AddColumn("n") : dull.MutableColumn(0)).AppendInt64(7);
    }
    dull.FillDone();
    QXRsList dullList;
    dullList.Add(dull);
    const auto status = EncodeRecord(*std::make_unique<QXSimpleMsg>(L"no", 1));
    enum Left { Kept, Emptied };
    struct Case {
        const char* name;
        std::optional<std::uint32_t> replyCode;  // none: no reply; 99: the request's own
        std::string body;
        Left left;
        std::string batchBody;
    };
    constexpr std::uint32_t kOwn = 99;
    const Case cases[] = {
        {"error reply", 0, status, Kept, status},
        {"no reply", std::nullopt, {}, Kept, {}},
        {"unknown code", 19, status, Kept, status},
        {"another record", 6, status, Kept, status},
        {"header beyond the bound", kOwn, std::string(5000, 'x'), Kept, std::string(5000, 'x')},
        {"undecodable", kOwn, "??", Emptied, "??"},
        {"decoded beyond the bound", kOwn, EncodeRecord(dull), Emptied, EncodeRecord(dullList)},
    };
    for (const Case& each : cases) {
        const auto answer = [&](std::uint32_t request, const std::string& body) {
            if (each.replyCode.has_value()) {
                server_.Reply(*each.replyCode == kOwn ? request : *each.replyCode, body);
            } else {
                server_.Hangup();
            }
        };
        for (const bool several : {false, true}) {
            rs_ = OneCell(6);
            answer(several ? 5 : 3, each.body);
            if (several) {
                agent_.OpenQuery(code_, text_, list_, rs_);
            } else {
                agent_.OpenQuery(code_, text_, command_, rs_);
            }
            EXPECT_NE(code_, 0) << each.name;
            EXPECT_EQ(rs_.RowCount(), each.left == Kept ? 1U : 0U) << each.name << several;
        }
        QXRsList out;
        out.Add(OneCell(6));
        answer(7, each.batchBody);
        agent_.BatchQry(code_, text_, list_, out);
        EXPECT_NE(code_, 0) << each.name;
        EXPECT_TRUE(out.Empty()) << each.name;
    }
}

TEST_F(RemoteAgent, AReplyBeyondTheBoundHasACodeOfItsOwnAndTheNextOneWorks) {
    QXRecordset large;
    QXColumn& column = large.AddColumn("text");
    for (int i = 0; i < 1000; ++i) {
        column.AppendBytes("as long as it is dull", QXValueType::Text);
    }
    large.FillDone();
    const std::string body = EncodeRecord(large);  // packed
    ASSERT_LT(body.size(), 4096U);
    const auto query = [&](const std::string& reply) {
        server_.Reply(3, reply);
        agent_.OpenQuery(code_, text_, command_, rs_);
        return code_;
    };
    const std::wstring told =
        L"the server's reply is larger than the 4096 bytes that are allowed: use pages or a "
        L"narrower query.";
    agent_.SetMaxReplyBytes(4096);
    auto small = OneCell(4);
    EXPECT_EQ(query(EncodeRecord(small)), 0);
    EXPECT_EQ(query(body), -5008);
    EXPECT_EQ(text_, told);
    EXPECT_EQ(rs_.RowCount(), 0U) << "a part of it";
    EXPECT_EQ(query(EncodeRecord(small)), 0);
    EXPECT_EQ(query(std::string(5000, 'x')), -5008);
    EXPECT_EQ(text_, told);
    EXPECT_EQ(rs_.GetInt64(0, 0), 4) << "what it held, as nothing was decoded";
    EXPECT_EQ(server_.Requests().back().connection, 1);
    agent_.SetMaxReplyBytes(0);
    EXPECT_EQ(query(body), 0);
    EXPECT_EQ(rs_.RowCount(), 1000U);
    EXPECT_EQ(server_.Requests().back().connection, 2) << "behind a body that was left unread";
}

TEST_F(RemoteAgent, UnlessToldAReplyMayHaveAGibibyte) {
    for (const bool beyond : {false, true}) {
        CQXBASE::FrameHeader header;
        header.typeCode = 3;
        header.bodyLength = (1U << 30) + (beyond ? 1 : 0);
        const CQXBASE::FrameHeaderBytes bytes = CQXBASE::EncodeFrameHeader(header);
        server_.ReplyRaw(std::string(bytes.data(), bytes.size()));
        agent_.OpenQuery(code_, text_, command_, rs_);
        EXPECT_EQ(code_, beyond ? -5008 : -1);
    }
}

TEST_F(RemoteAgent, SilenceEndsAnExchangeAndItsLateReplyIsNeverTaken) {
    const std::string late = qxdb_test::MakeFrame(3, [] {
        auto rows = OneCell(-1);
        return EncodeRecord(rows);
    }());
    for (const std::size_t sent : {std::size_t{0}, std::size_t{7}, late.size() - 1}) {
        std::promise<void> toldOf;
        server_.Do([&](ACE_SOCK_Stream& peer) {
            peer.send_n(late.data(), sent);
            toldOf.get_future().wait();
            peer.send_n(late.data() + sent, late.size() - sent);
            return true;
        });
        agent_.SetReplyTimeout(300);
        agent_.OpenQuery(code_, text_, command_, rs_);
        EXPECT_EQ(code_, 10060) << sent;
        EXPECT_NE(text_, L"");
        toldOf.set_value();
        agent_.SetReplyTimeout(0);
        server_.Reply(3, OneCell(static_cast<std::int64_t>(sent)));
        agent_.OpenQuery(code_, text_, command_, rs_);
        EXPECT_EQ(code_, 0);
        EXPECT_EQ(rs_.GetInt64(0, 0), static_cast<std::int64_t>(sent));
    }
}

/// Connections that nobody accepts, as the system makes them.
class DeafServer {
  public:
    DeafServer() {
        acceptor_.open(ACE_INET_Addr(static_cast<u_short>(0), "127.0.0.1"), 0, AF_INET, 1);
        acceptor_.get_local_addr(address_);
    }
    ~DeafServer() { acceptor_.close(); }
    DeafServer(const DeafServer&) = delete;
    DeafServer& operator=(const DeafServer&) = delete;

    std::wstring Name() const {
        return L"127.0.0.1:" + std::to_wstring(address_.get_port_number());
    }
    int Connections() const {
        int count = 0;
        ACE_SOCK_Stream peer;
        for (ACE_Time_Value now; acceptor_.accept(peer, nullptr, &now) == 0; ++count) {
            peer.close();
        }
        return count;
    }

  private:
    ACE_SOCK_Acceptor acceptor_;
    ACE_INET_Addr address_;
};

TEST(RemoteAgentAlone, ARequestThatNobodyReadsEndsInTheSameWayAndIsNotRepeated) {
    const DeafServer server;
    DBAgent agent;
    agent.init(server.Name(), {}, L"", false);
    agent.SetReplyTimeout(50);
    QXCommand command(L"SELECT ?");
    std::string bytes(std::size_t{16} << 20, '\0');  // that compression leaves as many
    std::mt19937 random;
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    command.AddParam(QXValue::Blob(bytes.data(), bytes.size()));
    long code = 0;
    std::wstring text;
    agent.Execute(code, text, command);
    EXPECT_EQ(code, 10060);
    EXPECT_EQ(server.Connections(), 1);
}

TEST(RemoteAgentAlone, WithoutAServerThereIsAnError) {
    DBAgent agent;
    long code = 0;
    std::wstring text;
    QXCommand command(L"SELECT 1");
    EXPECT_EQ(agent.RemoteExec(code, text, command, 1, nullptr), -1);
    EXPECT_EQ(code, -1);
    EXPECT_NE(text, L"");
    EXPECT_FALSE(agent.Shakehand());
    EXPECT_EQ(agent.errCode_, -1);
}

/// An object that can't be sent.
class Unsendable : public CQXBASE::QXIOBase {
  public:
    explicit Unsendable(bool tooLong) : tooLong_(tooLong) {}
    int toCDR(ACE_OutputCDR& out) const override { return out.write_ulong(7) && tooLong_ ? 1 : 0; }
    std::size_t size() override { return tooLong_ ? 3 : 4; }

  private:
    bool tooLong_;
};

TEST(RemoteAgentAlone, KeepsItsConnectionWhenNothingWasSentAndDropsOneThatIsNoGoodAnyMore) {
    constexpr const char* kOpened = "HTTP/1.1 200 Connection established";
    ScriptedServer server;
    QXProxyInfo proxy;
    proxy.kind = QXPROXY_HTTP;
    proxy.host = L"127.0.0.1";
    proxy.port = server.Port();
    DBAgent agent;
    agent.init(L"10.0.0.5:9000", proxy, L"", false);
    long code = 0;
    std::wstring text;
    const auto send = [&](CQXBASE::QXIOBase&& request) {
        return agent.RemoteExec(code, text, request, 6, nullptr);
    };
    const auto connectionOfAnExchange = [&] {
        server.Reply(6, QXSimpleMsg(L"", 0));
        EXPECT_EQ(send(QXSimpleMsg(L"", 0)), 0) << QXValue::Text(text).ToUtf8();
        return server.Requests().back().connection;
    };
    server.AnswerConnect(kOpened);
    EXPECT_EQ(connectionOfAnExchange(), 1);
    for (const bool tooLong : {true, false}) {
        EXPECT_EQ(send(Unsendable(tooLong)), -1);
        EXPECT_EQ(code, -5004);
        EXPECT_EQ(text, tooLong ? L"data too long, send error.\n"
                                : L"object can't be encoded, send error.\n");
        EXPECT_EQ(connectionOfAnExchange(), 1);
    }

    std::promise<void> dropped;
    server.Do([&](ACE_SOCK_Stream& peer) {
        const std::string frame = qxdb_test::MakeFrame(6, "all of the body");
        peer.send_n(frame.data(), 20);
        peer.close_writer();
        char byte = 0;
        while (peer.recv(&byte, 1) > 0) {
        }
        dropped.set_value();
        return false;
    });
    EXPECT_EQ(send(QXSimpleMsg(L"", 0)), -1);
    EXPECT_EQ(dropped.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);

    server.AnswerConnect("HTTP/1.0 403 Forbidden");
    EXPECT_EQ(send(QXSimpleMsg(L"", 0)), -1);
    EXPECT_EQ(text.substr(0, 30), L"连接代理服务器失败, HTTP/1.0 403 Forbid");
    server.AnswerConnect(kOpened);
    EXPECT_EQ(connectionOfAnExchange(), 3) << "went to a proxy that had refused the tunnel";
}

TEST(RemoteAgentAlone, NumbersThatAreNoPortConnectNowhere) {
    ScriptedServer server;
    const long long port = server.Port();
    const auto textOf = [](long long to, std::int32_t kind, long long proxyPort) {
        DBAgent agent;
        QXProxyInfo proxy;
        proxy.kind = kind;
        proxy.host = L"::1";
        proxy.port = static_cast<std::int32_t>(proxyPort);
        std::wstring info;
        EXPECT_FALSE(agent.Login(L"127.0.0.1", static_cast<long>(to), proxy, L"", info, info));
        EXPECT_EQ(agent.errCode_, 10022);
        return agent.errText_;
    };
    const std::wstring range = L" port is not within 0 to 65535(10022).";
    const std::wstring direct = L" connect to 127.0.0.1 error, the server's" + range;
    for (const long long wrong : {port + 65536, port - 65536, port + (1LL << 32)}) {
        if (static_cast<long>(wrong) == wrong) {  // long may have 32 bits
            EXPECT_EQ(textOf(wrong, QXPROXY_NONE, 0), direct);
            EXPECT_EQ(textOf(wrong, QXPROXY_SOCKS4, 1),
                      L" connect to ::1 error, the server's" + range);
        }
        DBAgent named;
        named.init(L"127.0.0.1:" + std::to_wstring(wrong), {}, L"", false);
        EXPECT_FALSE(named.Shakehand());
        EXPECT_EQ(named.errText_, direct);
    }
    EXPECT_EQ(textOf(9, QXPROXY_HTTP, port + 65536), L" connect to ::1 error, the proxy's" + range);
    EXPECT_TRUE(server.Requests().empty());
}

}  // namespace
