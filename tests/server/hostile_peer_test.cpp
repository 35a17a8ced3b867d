// Clients that are many, slow, silent, dead or out of their mind.
#include <algorithm>
#include <filesystem>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include <qxdb/DBAgent.h>

#include "messages/type_codes.h"
#include "server/sessions/password_hash.h"
#include "tests/server/test_server.h"
#include "tests/support/Lies.h"
#include "tests/support/PeakMemory.h"
#include "tests/support/TestTls.h"

namespace qxdb_test {
namespace {

using namespace CQXBASE;
using namespace CQXSERVER;
using namespace std::chrono_literals;

/// Open descriptors of this process; 0 where the system doesn't list them.
std::size_t OpenDescriptors() {
    std::error_code error;
    const std::filesystem::directory_iterator entries("/proc/self/fd", error);
    return error ? 0 : static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

void ExpectLittleGrowth(const PeakMemory& memory) {
    if (QXDB_MEASURES_MEMORY != 0) {
        EXPECT_LT(memory.Growth(), 64 * kMiB);
    }
}

CQXDB::QXCommand BigQuery(const RawClient& client, int megabytes) {
    return client.Command(L"SELECT randomblob(" + std::to_wstring(megabytes) + L" * 1048576)");
}

TEST(HostilePeer, AFloodOfStrangersKeepsNobodyOut) {
    constexpr std::size_t kMost = 200;
    TestServer server([](ServerOptions& options) { options.limits.maxConnections = kMost; });
    RawClient user = server.LoggedIn();
    std::vector<RawClient> flood;
    for (std::size_t i = 0; i < 2 * kMost; ++i) {
        flood.push_back(server.Connect());
        RawClient& stranger = flood.back();
        if (i % 3 == 1) {
            stranger.SendBytes(i % 2 == 0 ? std::string("\1") : HeaderClaiming(1000) + "x");
        } else if (i % 3 == 2) {
            stranger.SendBytes("GET / HTTP/1.1\r\n\r\n");
        }
        for (std::size_t drip = 1; drip < flood.size(); drip += 100) {
            try {
                flood[drip].SendBytes("x");
            } catch (const std::runtime_error&) {
                // The server has closed it in the meantime.
            }
        }
        ASSERT_EQ(user.Number(L"SELECT 1"), 1);
    }
    EXPECT_GE(server.Get().Stats().displaced, kMost / 4);
    EXPECT_EQ(server.LoggedIn().Number(L"SELECT 1"), 1) << "no room for one more user";
    EXPECT_EQ(server.Get().Stats().refused, 0U);
}

TEST(HostilePeer, DeathInTheMiddleOfAFrameLeavesNothingBehind) {
    TestServer server;
    { server.LoggedIn().Number(L"SELECT 1"); }
    ASSERT_TRUE(Eventually([&] { return server.Get().Stats().open == 0; }));
    const std::size_t before = OpenDescriptors();
    const std::string frame = MakeFrame(kHandshake, std::string(8, '\0'));
    for (std::size_t cut = 0; cut < frame.size(); ++cut) {
        RawClient client = server.Connect();
        client.SendBytes(frame.substr(0, cut));
        client.Close(cut % 2 == 0);
    }
    EXPECT_TRUE(Eventually([&] { return server.Get().Stats().accepted == frame.size() + 1; }));
    EXPECT_TRUE(Eventually([&] { return server.Get().Stats().open == 0; }));
    EXPECT_TRUE(Eventually([&] { return OpenDescriptors() == before; }));
}

TEST(HostilePeer, AClientThatOnlyStopsSendingHasItsRequestServed) {
    TestServer server;
    RawClient client = server.LoggedIn();
    client.Execute(L"CREATE TABLE t(n)");
    RawClient dying = server.LoggedIn();
    CQXDB::QXCommand insert = dying.Command(L"INSERT INTO t VALUES (1)");
    dying.Send(kExecute, insert);
    dying.FinishSending();
    EXPECT_EQ(dying.Receive().Error(), 0);
    EXPECT_EQ(client.Number(L"SELECT count(*) FROM t"), 1);
}

constexpr wchar_t kEndless[] =
    L"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT count(*) FROM n";

TEST(HostilePeer, WorkWhoseClientIsGoneIsCancelledOrNeverBegun) {
    HandClock clock;
    TestServer server([](ServerOptions& options) { options.workers = 4; }, clock);
    server.AddUser("bob", "hunter2");
    RawClient bob = server.Connect();
    bob.Login(L"bob", L"hunter2");
    const RawClient ann = server.LoggedIn();
    CQXDB::QXCommand endless = ann.Command(kEndless);
    std::vector<RawClient> crowd;
    for (int i = 0; i < 40; ++i) {
        crowd.push_back(server.Connect());
        crowd.back().Send(kQuery, endless);
    }
    ASSERT_TRUE(Eventually([&] { return server.Get().Stats().running == crowd.size(); }));
    EXPECT_EQ(bob.Number(L"SELECT 1"), 1) << "one account holds all workers";
    for (std::size_t i = 0; i < crowd.size(); ++i) {
        crowd[i].Close(i % 2 == 0);
    }
    ASSERT_TRUE(Eventually([&] { return server.Get().Stats().running <= crowd.size() / 2; }));
    EXPECT_EQ(server.Get().Sessions(), 2U) << "a session went with its clients";
    EXPECT_TRUE(Eventually([&] {
        clock.Advance(1s);  // those who might still be reading
        return server.Get().Stats().running == 0;
    }));
    EXPECT_EQ(server.LoggedIn().Number(L"SELECT 1"), 1);
}

TEST(HostilePeer, LoginsWhoseClientIsGoneOpenNoSession) {
    constexpr std::size_t kCrowd = 40;
    TestServer server;
    server.Get().Accounts().Add("slow", sessions::HashPassword("secret"), AllowedDatabases::All());
    QXOneString login(L"slow|~|secret");
    for (std::size_t i = 0; i < kCrowd; ++i) {
        RawClient gone = server.Connect();
        gone.Send(kLogin, login);
        gone.Close(true);
    }
    server.LoggedIn();
    EXPECT_TRUE(Eventually([&] { return server.Get().Stats().running == 0; }));
    EXPECT_LT(server.Get().Sessions(), kCrowd / 2) << "gone clients have sessions";
}

TEST(HostilePeer, AnOversizedBodyIsRefusedBeforeItIsRead) {
    TestServer server([](ServerOptions& options) { options.limits.maxFrameBytes = 1000; });
    RawClient announcing = server.Connect();
    announcing.SendBytes(HeaderClaiming(1001));
    EXPECT_EQ(announcing.Receive().Error(), Number(ServerError::FrameTooLarge));
    EXPECT_TRUE(announcing.AtEnd());
}

TEST(HostilePeer, TimeLimitsCloseTheSilentAndTheSlow) {
    struct Case {
        const char* name;
        void (*shorten)(Limits&);
        void (*act)(RawClient&);
    };
    const Case cases[] = {
        {"silent before a login", [](Limits& limits) { limits.loginTimeout = 50ms; },
         [](RawClient&) {}},
        {"silent after a login", [](Limits& limits) { limits.idleTimeout = 50ms; },
         [](RawClient& client) { client.Login(L"ann", L"secret"); }},
        {"half a header", [](Limits& limits) { limits.requestTimeout = 50ms; },
         [](RawClient& client) { client.SendBytes(HeaderClaiming(10).substr(0, 7)); }},
        {"half a body", [](Limits& limits) { limits.requestTimeout = 50ms; },
         [](RawClient& client) { client.SendBytes(HeaderClaiming(10) + "half"); }},
    };
    for (const Case& each : cases) {
        TestServer server([&](ServerOptions& options) { each.shorten(options.limits); });
        RawClient client = server.Connect();
        each.act(client);
        EXPECT_TRUE(client.AtEnd()) << each.name;
        EXPECT_TRUE(Eventually([&] { return server.Get().Stats().timedOut == 1; })) << each.name;
    }
}

TEST(HostilePeer, OneThatDoesNotReadItsReplyHoldsNobodyUp) {
    HandClock clock;
    TestServer server([](ServerOptions& options) { options.limits.maxBufferedBytes = 40 * kMiB; },
                      clock);
    RawClient greedy = server.LoggedIn();
    CQXDB::QXCommand big = BigQuery(greedy, 32);
    greedy.Send(kQuery, big, false);
    RawClient client = server.LoggedIn();
    EXPECT_EQ(client.Number(L"SELECT 1"), 1);
    ASSERT_TRUE(Eventually([&] { return greedy.Readable(); }));
    clock.Advance(10min);
    EXPECT_TRUE(Eventually([&] { return server.Get().Stats().timedOut == 1; }));
    EXPECT_TRUE(Eventually([&] { return client.Call(kQuery, big, false).code == kQuery; }))
        << "its buffer was not given back";
}

TEST(HostilePeer, RequestsSentAheadAreServedInOrder) {
    TestServer server;
    RawClient client = server.LoggedIn();
    std::string stream;
    for (int i = 0; i < 200; ++i) {
        CQXDB::QXCommand command = client.Command(L"SELECT " + std::to_wstring(i));
        stream += MakeFrame(kQuery, EncodeRecord(command), i % 2 == 0);
    }
    client.SendBytes(stream);
    client.FinishSending();
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(client.Receive().Recordset().GetInt64(0, 0), i);
    }
    EXPECT_TRUE(client.AtEnd());
}

/// Reads what the server says until it closes; all of it must be frames.
void HearOut(RawClient& client) {
    client.FinishSending();
    std::string said;
    try {
        said = client.ReadAll();
    } catch (const std::runtime_error&) {
        return;  // reset, since it had not read all
    }
    for (std::size_t at = 0; at < said.size();) {
        ASSERT_LE(at + kFrameHeaderSize, said.size());
        const FrameHeader header = DecodeFrameHeader(said.data() + at);
        ASSERT_TRUE(header.typeCode == kErrorReply || IsRequest(header.typeCode));
        at += kFrameHeaderSize + header.bodyLength;
        ASSERT_LE(at, said.size());
    }
}

TEST(HostilePeer, NoLieHangsTheServerOrCostsItMemory) {
    TestServer server([](ServerOptions& options) { options.limits.maxSessions = 20; });
    RawClient client = server.LoggedIn();
    CQXDB::QXCommand select = client.Command(L"SELECT ?");
    select.AddParam(CQXDB::QXValue::Int64(7));
    CQXDB::QXCommandList list = client.List({L"SELECT 1", L"SELECT 2"});
    QXOneString text(L"hello");
    QXOneString login(L"ann|~|secret");
    QXSimpleMsg greeting(L"ab", 0);
    const std::string frames[] = {
        MakeFrame(kQuery, EncodeRecord(select), false),
        MakeFrame(kBatchQuery, EncodeRecord(list), false),
        MakeFrame(kHandshake, EncodeRecord(greeting), true),
        MakeFrame(kSendText, EncodeRecord(text), false),
        MakeFrame(kVirtualLogout, EncodeRecord(login), false),
    };
    const PeakMemory memory;
    for (const std::string& frame : frames) {
        for (const std::string& lie : Lies(frame)) {
            RawClient liar = server.Connect();
            liar.SendBytes(lie);
            ASSERT_NO_FATAL_FAILURE(HearOut(liar)) << testing::PrintToString(lie);
        }
    }
    ExpectLittleGrowth(memory);
    EXPECT_EQ(server.LoggedIn().Number(L"SELECT 1"), 1);
    EXPECT_TRUE(Eventually([&] { return server.Get().Stats().open == 1; }));
}

/// What a request takes once it is decoded is bounded like the request itself.
TEST(HostilePeer, CompressedRequestsAreRefusedBeforeTheyTakeTheMemory) {
    TestServer server([](ServerOptions& options) { options.limits.maxFrameBytes = 4 * kMiB; });
    RawClient client = server.LoggedIn();
    CQXDB::QXCommand select = client.Command(L"SELECT 1");
    CQXDB::QXCommandList none = client.List({});
    const auto command = [&](std::size_t count) {
        return MakeFrame(kQuery, CommandBomb(EncodeRecord(select), count), false);
    };
    const auto list = [&](std::size_t count) {
        return MakeFrame(kExecuteList, CommandListBomb(EncodeRecord(none), count), false);
    };
    const PeakMemory memory;
    for (const std::string& frame :
         {command(3 * kMiB), list(2 * kMiB), command(256 * kKiB), list(128 * kKiB)}) {
        ASSERT_LT(frame.size(), 4 * kMiB);
        client.SendBytes(frame);
        EXPECT_EQ(client.Receive().Error(), Number(ServerError::FrameTooLarge)) << frame.size();
    }
    ExpectLittleGrowth(memory);
    client.SendBytes(list(1000));
    EXPECT_EQ(client.Receive().code, kExecuteList) << "one that fits is served";
}

TEST(HostilePeer, NonsenseNeverStopsTheServer) {
    TestServer server;
    std::mt19937 random(20240611);
    RawClient client = server.LoggedIn();
    CQXDB::QXCommandList list = client.List({L"SELECT 1", L"SELECT 2"});
    const std::string good = MakeFrame(kBatchQuery, EncodeRecord(list), false);
    for (int i = 0; i < 300; ++i) {
        std::string bytes = good;
        for (unsigned flips = 1 + random() % 8; flips > 0; --flips) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        RawClient mad = server.Connect();
        mad.SendBytes(i % 3 == 0 ? bytes.substr(random() % bytes.size()) : bytes);
        mad.FinishSending();
    }
    EXPECT_EQ(client.Number(L"SELECT 1"), 1);
    EXPECT_TRUE(Eventually([&] { return server.Get().Stats().open == 1; }));
}

TEST(Limits, AnAgentHearsWhyItIsRefusedAndConnectsAgain) {
    TestServer server([](ServerOptions& options) {
        options.limits.maxFrameBytes = kMiB;
        options.limits.maxConnections = 1;
    });
    CQXDB::DBAgent agent;
    CQXDB::DBAgent second;
    const auto login = [&server](CQXDB::DBAgent& who) {
        std::wstring info;
        std::wstring token;
        UseTestTls(who);
        return who.Login(L"127.0.0.1", server.Get().Port(), CQXDB::QXProxyInfo(), L"ann|~|secret",
                         info, token);
    };
    const auto execute = [&agent](const std::wstring& sql) {
        CQXDB::QXCommand command(sql);
        long code = 0;
        std::wstring text;
        agent.Execute(code, text, command);
        return code;
    };
    ASSERT_TRUE(login(agent));
    agent.SetIsLocal(false);
    EXPECT_FALSE(login(second));
    EXPECT_EQ(second.errCode_, Number(ServerError::TooManyConnections));
    EXPECT_EQ(execute(std::wstring(8 * kMiB, L'x')), Number(ServerError::FrameTooLarge));
    EXPECT_TRUE(Eventually([&] { return execute(L"SELECT 1") == 0; }));
}

TEST(Limits, LeaveRoomForAThousandIdleSessionsAndSixtyFourBusyOnes) {
    constexpr std::size_t kIdle = 1000;
    constexpr std::size_t kBusy = 64;
    constexpr int kRequests = 20;
    TestServer server;
    server.LoggedIn().Execute(L"CREATE TABLE t(client INTEGER, n INTEGER)");
    std::vector<RawClient> idle;
    for (std::size_t i = 0; i < kIdle; ++i) {
        idle.push_back(server.LoggedIn());
    }
    std::vector<std::thread> busy;
    std::atomic<int> served{0};
    for (std::size_t i = 0; i < kBusy; ++i) {
        busy.emplace_back([&, i] {
            RawClient client = server.LoggedIn();
            const std::wstring me = std::to_wstring(i);
            for (int n = 0; n < kRequests; ++n) {
                const bool write = n % 10 == 0;
                const std::wstring insert = L"INSERT INTO t VALUES (" + me + L", 1)";
                served += write ? client.Execute(insert).Error() == 0
                                : client.Number(L"SELECT " + me) == static_cast<std::int64_t>(i);
            }
        });
    }
    for (std::thread& each : busy) {
        each.join();
    }
    EXPECT_EQ(served, static_cast<int>(kBusy) * kRequests);
    EXPECT_EQ(server.LoggedIn().Number(L"SELECT count(*) FROM t"), kBusy * kRequests / 10);
    EXPECT_GE(server.Get().Stats().open, kIdle);
    for (RawClient& each : idle) {
        ASSERT_EQ(each.Handshake().Error(), 0);
    }
}

/// A plain insert of a session, of `length` bytes, header and all.
std::string BigInsert(const RawClient& client, std::size_t length) {
    CQXDB::QXCommand insert = client.Command(L"INSERT INTO t VALUES (?)");
    std::mt19937 random(1);
    std::string bytes(length, '\0');
    for (char& each : bytes) {
        each = static_cast<char>(random());
    }
    insert.AddParam(CQXDB::QXValue::Blob(bytes.data(), bytes.size()));
    return MakeFrame(kExecute, EncodeRecord(insert), false);
}

TEST(Limits, StrangersTakeNoneOfTheUsersBuffers) {
    TestServer server([](ServerOptions& options) { options.limits.maxBufferedBytes = 16 * kMiB; });
    RawClient user = server.LoggedIn();
    user.Execute(L"CREATE TABLE t(n)");
    const std::string big = BigInsert(user, 6 * kMiB);
    std::vector<RawClient> strangers;
    for (const std::uint32_t code :
         {kLogin, kVirtualLogin, kVirtualLogout, kHandshake, kSendText, kCancel, kOtpData, kExecute,
          kQuery, kExecuteList, kQueryList, kBatchQuery, TypeCode{99}}) {
        strangers.push_back(server.Connect());
        std::string claim = MakeFrame(code, std::string(16, '\0'), false).substr(0, 8) +
                            HeaderClaiming(12 * kMiB).substr(8) + std::string(20 * kKiB, 'x');
        strangers.back().SendBytes(claim);
        EXPECT_LT(strangers.back().Receive().Error(), -6000) << code;
    }
    for (int i = 0; i < 300; ++i) {  // more than a stranger's budget has room for
        strangers.push_back(server.Connect());
        try {
            strangers.back().SendBytes(HeaderClaiming(8 * kKiB) + std::string(8 * kKiB - 1, 'x'));
        } catch (const std::runtime_error&) {
            EXPECT_TRUE(TestsRunOverTls()) << "who gets no handshake can't be told why";
        }
    }
    user.SendBytes(big);
    EXPECT_EQ(user.Receive().Error(), 0);
    const auto enters = [&] {
        try {
            return server.LoggedIn().Number(L"SELECT 1") == 1;
        } catch (const std::runtime_error&) {
            return false;
        }
    };
    EXPECT_TRUE(TestsRunOverTls() ? Eventually(enters) : enters()) << "a new user's way in";
    EXPECT_GT(server.Get().Stats().stalled, 0U);
    RawClient known = server.Connect();
    known.SendBytes(big);
    EXPECT_EQ(known.Receive().Error(), 0) << "a session's large request on a new connection";
}

TEST(Limits, WhoStallsMakesRoomAndWhoSendsIsRefused) {
    HandClock clock;
    TestServer server([](ServerOptions& options) { options.limits.maxBufferedBytes = 12 * kMiB; },
                      clock);
    RawClient client = server.LoggedIn();
    client.Execute(L"CREATE TABLE t(n)");
    const std::string insert = BigInsert(client, 5 * kMiB);
    std::vector<RawClient> senders;
    const auto refused = [&senders] {
        return std::find_if(senders.begin(), senders.end(),
                            [](RawClient& each) { return each.Readable(); });
    };
    for (int i = 0; i < 3; ++i) {
        senders.push_back(server.LoggedIn());
        senders.back().SendBytes(std::string_view(insert).substr(0, insert.size() - 1));
    }
    ASSERT_TRUE(Eventually([&] { return refused() != senders.end(); }));
    EXPECT_EQ(refused()->Receive().Error(), Number(ServerError::OutOfBuffers));
    EXPECT_EQ(client.Number(L"SELECT 1"), 1) << "small requests go on";
    // What they have sent may still be on its way, and more than one of them may have been refused:
    // another one each time. The limits of silence are far off.
    for (int i = 0; i < 8 && server.Get().Stats().stalled == 0; ++i) {
        senders.push_back(server.LoggedIn());
        senders.back().SendBytes(std::string_view(insert).substr(0, insert.size() - 1));
        clock.Advance(3s);
        RawClient next = server.LoggedIn();
        next.SendBytes(insert);
        next.Receive();
    }
    EXPECT_GE(server.Get().Stats().stalled, 1U);
}

/// Decoded, split and copied, such a request took many times its length.
TEST(Limits, HoldForWhatRequestsOfAnyCodeTakeInMemory) {
    TestServer server([](ServerOptions& options) {
        options.limits.maxBufferedBytes = 64 * kMiB;
        options.limits.maxFrameBytes = 24 * kMiB;
    });
    RawClient user = server.LoggedIn();
    std::wstring separators;
    for (std::size_t i = 0; i < 3 * kMiB; ++i) {
        separators += L"|~|";
    }
    QXOneString text(separators);
    const PeakMemory memory;
    for (const std::uint32_t code : {kLogin, kVirtualLogin, kVirtualLogout, kSendText, kCancel}) {
        for (const bool encipher : {false, true}) {
            std::vector<RawClient> crowd;
            for (int i = 0; i < 4; ++i) {
                crowd.push_back(code == kSendText ? server.LoggedIn() : server.Connect());
                try {
                    crowd.back().Send(code, text, encipher);
                } catch (const std::runtime_error&) {
                    // The server has refused its beginning.
                }
            }
            EXPECT_EQ(user.Number(L"SELECT 1"), 1);
        }
    }
    if (QXDB_MEASURES_MEMORY != 0) {
        EXPECT_LT(memory.Growth(), 128 * kMiB);
    }
}

TEST(Limits, AResultOverTheLimitIsAnErrorWithoutEffect) {
    TestServer server([](ServerOptions& options) { options.limits.maxResultBytes = 2 * kMiB; });
    RawClient client = server.LoggedIn();
    CQXDB::QXCommand fits = BigQuery(client, 1);
    EXPECT_EQ(client.Call(kQuery, fits).code, kQuery);
    CQXDB::QXCommand tooBig = BigQuery(client, 3);
    EXPECT_EQ(client.Call(kQuery, tooBig).Error(), Number(ServerError::ResultTooLarge));
    CQXDB::QXCommandList batch =
        client.List({L"CREATE TABLE t(n)", fits.Text(), fits.Text(), fits.Text()});
    EXPECT_EQ(client.Call(kBatchQuery, batch).Error(), Number(ServerError::ResultTooLarge));
    EXPECT_EQ(client.Number(L"SELECT count(*) FROM sqlite_schema"), 0);
}

}  // namespace
}  // namespace qxdb_test
