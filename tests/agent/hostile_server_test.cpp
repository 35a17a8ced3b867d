// Replies of a server that lies: every byte of the header, every count, length and code of every
// kind of body, and every place where a reply may end.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <ace/INET_Addr.h>
#include <ace/SOCK_Acceptor.h>
#include <ace/SOCK_Connector.h>
#include <gtest/gtest.h>

#include <qxdb/DBAgent.h>

#include "messages/session_records.h"
#include "messages/type_codes.h"
#include "tests/agent/scripted_server.h"
#include "tests/support/Frame.h"
#include "tests/support/Lies.h"
#include "tests/support/PeakMemory.h"
#include "tests/support/TestTls.h"

namespace {

using namespace CQXDB;
using qxdb_test::EncodeRecord;
using qxdb_test::MakeFrame;

constexpr std::size_t kMostMemory = std::size_t{64} << 20;

QXRecordset Rows(int count) {
    QXRecordset rows;
    QXColumn& numbers = rows.AddColumn("number");
    QXColumn& texts = rows.AddColumn("text");
    for (int i = 0; i < count; ++i) {
        numbers.AppendInt64(i);
        texts.AppendBytes("the same words again", QXValueType::Text);
    }
    rows.FillDone();
    return rows;
}

struct Kind {
    friend void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }

    const char* name;
    int code;
    std::string body;
    bool enciphered;
};

enum class Outcome { Success, ServersOwn, Error };

class LyingServer : public testing::Test {
  protected:
    /// Sends a request of that code, which the server answers with `reply`. A record that says of
    /// itself that something failed is an answer, too.
    Outcome Ask(int request, const std::string& reply) {
        server_.ReplyRaw(reply);
        DBAgent agent;
        agent.SetMaxReplyBytes(most_);
        agent.init(L"127.0.0.1:" + std::to_wstring(server_.Port()), {}, L"token", false);
        qxdb_test::UseTestTls(agent);
        QXCommand command(L"SELECT 1");
        QXRecordset rows;
        QXRsList list;
        void* const result =
            request == CQXBASE::kQuery ? static_cast<void*>(&rows) : static_cast<void*>(&list);
        long code = 0;
        std::wstring text;
        const int done = agent.RemoteExec(code, text, command, request, result);
        code_ = code;
        rows_ = rows.RowCount() + (list.Count() == 1 ? list.At(0).RowCount() : 0);
        if (done == 0 && code == 0) {
            return Outcome::Success;
        }
        return done == -1 && code != 0 && !text.empty() ? Outcome::Error : Outcome::ServersOwn;
    }

    std::uint64_t most_ = 0;  ///< bytes a reply may take; 0: any number
    std::size_t rows_ = 0;    ///< in the last reply
    long code_ = 0;           ///< told of it

  private:
    qxdb_test::ScriptedServer server_;
};
using CompressedRows = LyingServer;
class HostileServer : public LyingServer, public testing::WithParamInterface<Kind> {};

TEST_P(HostileServer, NoLieHangsOrCostsMemory) {
    const std::string honest = MakeFrame(static_cast<std::uint32_t>(GetParam().code),
                                         GetParam().body, GetParam().enciphered);
    ASSERT_EQ(Ask(GetParam().code, honest), Outcome::Success);
    const qxdb_test::PeakMemory memory;
    for (const std::string& lie : qxdb_test::Lies(honest)) {
        const Outcome outcome = Ask(GetParam().code, lie);
        EXPECT_TRUE(outcome == Outcome::Error || lie.size() == honest.size())
            << lie.size() << " bytes were enough";
    }
    if (QXDB_MEASURES_MEMORY != 0) {
        EXPECT_LT(memory.Growth(), kMostMemory);
    }
    EXPECT_EQ(Ask(GetParam().code, honest), Outcome::Success);
}

/// Rows that fill 256 KiB once they are compressed, and many times that in memory. When the frame
/// ends early, or claims more rows than its bytes allow, they cost nothing.
TEST_F(CompressedRows, TakeMemoryInProportionToTheirFrame) {
    constexpr std::size_t kRows = std::size_t{128} * 256 * 1024 / 10 - 2000;
    const std::string rows = qxdb_test::RecordsetBomb(kRows);
    const std::string list = qxdb_test::RsListBomb(kRows);
    std::string claiming = rows;
    claiming.replace(16, 4, qxdb_test::WireNumber(kRows * 4 / 3));
    const std::string frame = MakeFrame(CQXBASE::kQuery, rows, false);
    ASSERT_LT(rows.size(), std::size_t{256} << 10);
    struct Case {
        const char* name;
        int request;
        std::string frame;
        bool good;
        std::size_t mostMemory;
    };
    const Case cases[] = {
        {"cut", CQXBASE::kQuery, frame.substr(0, frame.size() - 1), false, kMostMemory / 16},
        {"claiming", CQXBASE::kQuery, MakeFrame(CQXBASE::kQuery, claiming, false), false,
         kMostMemory},
        {"rows", CQXBASE::kQuery, frame, true, kMostMemory},
        {"enciphered", CQXBASE::kQuery, MakeFrame(CQXBASE::kQuery, rows, true), true, kMostMemory},
        {"list", CQXBASE::kBatchQuery, MakeFrame(CQXBASE::kBatchQuery, list, false), true,
         kMostMemory},
    };
    for (const Case& each : cases) {
        const qxdb_test::PeakMemory memory;
        const Outcome outcome = Ask(each.request, each.frame);
        EXPECT_EQ(outcome == Outcome::Success, each.good) << each.name;
        EXPECT_EQ(rows_, each.good ? kRows : 0) << each.name;
        const std::size_t growth = memory.Growth();
        RecordProperty(std::string(each.name) + "_kib", static_cast<int>(growth / 1024));
        if (QXDB_MEASURES_MEMORY != 0) {
            EXPECT_LT(growth, each.mostMemory) << each.name;
        }
    }
}

TEST_F(CompressedRows, TakeNoMoreMemoryThanTheAgentAllows) {
    constexpr std::size_t kRows = std::size_t{128} * 256 * 1024 / 10 - 2000;
    most_ = std::uint64_t{4} << 20;
    QXRsList none;
    for (int i = 0; i < 120000; ++i) {
        none.Add(QXRecordset());
    }
    const std::pair<int, std::string> replies[] = {
        {CQXBASE::kQuery, qxdb_test::RecordsetBomb(kRows)},
        {CQXBASE::kBatchQuery, qxdb_test::RsListBomb(kRows)},
        {CQXBASE::kBatchQuery, EncodeRecord(none)},
        {CQXBASE::kHandshake, EncodeRecord(*std::make_unique<CQXBASE::QXSimpleMsg>(
                                  std::wstring(std::size_t{1} << 20, L'x'), 0))},
    };
    for (const auto& [request, body] : replies) {
        const std::string frame = MakeFrame(static_cast<std::uint32_t>(request), body, false);
        const qxdb_test::PeakMemory memory;
        EXPECT_EQ(Ask(request, frame), Outcome::Error) << request;
        EXPECT_EQ(code_, -5008) << request;
        if (QXDB_MEASURES_MEMORY != 0) {
            EXPECT_LT(memory.Growth(), std::size_t{20} << 20) << request;
        }
    }
}

/// The system takes no more connections for a listener whose queue is full.
TEST(FullServer, EndsTheWaitForAConnection) {
    ACE_SOCK_Acceptor acceptor(ACE_INET_Addr(static_cast<u_short>(0), "127.0.0.1"), 0, AF_INET, 1);
    ACE_INET_Addr address;
    ASSERT_EQ(acceptor.get_local_addr(address), 0);
    std::vector<std::unique_ptr<ACE_SOCK_Stream>> queue;
    const ACE_Time_Value brief(0, 200000);
    do {
        ASSERT_LT(queue.size(), 100U);
        queue.push_back(std::make_unique<ACE_SOCK_Stream>());
    } while (ACE_SOCK_Connector().connect(*queue.back(), address, &brief) == 0);
    DBAgent agent;
    agent.init(L"127.0.0.1:" + std::to_wstring(address.get_port_number()), {}, L"", false);
    agent.SetReplyTimeout(50);
    EXPECT_FALSE(agent.Shakehand());
    EXPECT_EQ(agent.errCode_, 10060);
    for (const auto& stream : queue) {
        stream->close();
    }
    acceptor.close();
}

template <class Record>
Kind Of(const char* name, int code, Record record, bool enciphered = false) {
    return {name, code, EncodeRecord(record), enciphered};
}

QXRsList TwoResults() {
    QXRsList list;
    list.Add(Rows(1));
    list.Add(Rows(2));
    return list;
}

INSTANTIATE_TEST_SUITE_P(Replies, HostileServer,
                         testing::Values(Of("Status", CQXBASE::kHandshake,
                                            CQXBASE::QXSimpleMsg(L"text", 0)),
                                         Of("EncipheredStatus", CQXBASE::kHandshake,
                                            CQXBASE::QXSimpleMsg(L"ab", 0), true),
                                         Of("Session", CQXBASE::kLogin, CQXBASE::QXSesInfo()),
                                         Of("Rows", CQXBASE::kQuery, Rows(2)),
                                         Of("PackedRows", CQXBASE::kQuery, Rows(300)),
                                         Of("Results", CQXBASE::kBatchQuery, TwoResults())),
                         [](const auto& kind) { return std::string(kind.param.name); });

}  // namespace
