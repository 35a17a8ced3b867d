// Replies of a server that lies: every byte of the header, every count, length and code of every
// kind of body, and every place where a reply may end.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <qxdb/DBAgent.h>

#include "messages/session_records.h"
#include "messages/type_codes.h"
#include "tests/agent/scripted_server.h"
#include "tests/support/Frame.h"
#include "tests/support/Lies.h"
#include "tests/support/PeakMemory.h"

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

class HostileServer : public testing::TestWithParam<Kind> {
  protected:
    enum class Outcome { Success, ServersOwn, Error };

    /// Asks the server for what GetParam() is. A record that says of itself that something failed
    /// is an answer, too.
    Outcome Ask() {
        DBAgent agent;
        agent.init(L"127.0.0.1:" + std::to_wstring(server_.Port()), {}, L"token", false);
        QXCommand command(L"SELECT 1");
        QXRecordset rows;
        QXRsList list;
        void* const result = GetParam().code == CQXBASE::kQuery ? static_cast<void*>(&rows)
                                                                : static_cast<void*>(&list);
        long code = 0;
        std::wstring text;
        const int done = agent.RemoteExec(code, text, command, GetParam().code, result);
        if (done == 0 && code == 0) {
            return Outcome::Success;
        }
        return done == -1 && code != 0 && !text.empty() ? Outcome::Error : Outcome::ServersOwn;
    }

    qxdb_test::ScriptedServer server_;
};

TEST_P(HostileServer, NoLieHangsOrCostsMemory) {
    const std::string honest = MakeFrame(static_cast<std::uint32_t>(GetParam().code),
                                         GetParam().body, GetParam().enciphered);
    server_.ReplyRaw(honest);
    ASSERT_EQ(Ask(), Outcome::Success);
    const qxdb_test::PeakMemory memory;
    for (const std::string& lie : qxdb_test::Lies(honest)) {
        server_.ReplyRaw(lie);
        const Outcome outcome = Ask();
        EXPECT_TRUE(outcome == Outcome::Error || lie.size() == honest.size())
            << lie.size() << " bytes were enough";
    }
    if (QXDB_MEASURES_MEMORY != 0) {
        EXPECT_LT(memory.Growth(), kMostMemory);
    }
    server_.ReplyRaw(honest);
    EXPECT_EQ(Ask(), Outcome::Success);
}

/// Rows that fill 256 KiB once they are compressed, and many times that in memory. When the frame
/// ends early, or claims more rows than its bytes allow, they cost nothing.
TEST(CompressedRows, TakeMemoryInProportionToTheirFrame) {
    constexpr std::size_t kRows = std::size_t{128} * 256 * 1024 / 10 - 2000;
    const std::string rows = qxdb_test::RecordsetBomb(kRows);
    const std::string list = qxdb_test::RsListBomb(kRows);
    std::string claiming = rows;
    claiming.replace(16, 4, qxdb_test::WireNumber(kRows * 4 / 3));
    const std::string frame = MakeFrame(CQXBASE::kQueryList, rows, false);
    ASSERT_LT(rows.size(), std::size_t{256} << 10);
    struct Case {
        const char* name;
        std::string frame;
        int request;
        bool good;
        std::size_t mostMemory;
    };
    const Case cases[] = {
        {"cut", frame.substr(0, frame.size() - 1), CQXBASE::kQueryList, false, kMostMemory / 16},
        {"claiming", MakeFrame(CQXBASE::kQueryList, claiming, false), CQXBASE::kQueryList, false,
         kMostMemory},
        {"rows", frame, CQXBASE::kQueryList, true, kMostMemory},
        {"enciphered", MakeFrame(CQXBASE::kQueryList, rows, true), CQXBASE::kQueryList, true,
         kMostMemory},
        {"list", MakeFrame(CQXBASE::kBatchQuery, list, false), CQXBASE::kBatchQuery, true,
         kMostMemory},
    };
    for (const Case& each : cases) {
        qxdb_test::ScriptedServer server;
        server.ReplyRaw(each.frame);
        DBAgent agent;
        agent.init(L"127.0.0.1:" + std::to_wstring(server.Port()), {}, L"token", false);
        QXCommandList commands;
        commands.Add(QXCommand(L"SELECT 1"));
        QXRecordset got;
        QXRsList sets;
        long code = 0;
        std::wstring text;
        const qxdb_test::PeakMemory memory;
        if (each.request == CQXBASE::kQueryList) {
            agent.OpenQuery(code, text, commands, got);
        } else {
            agent.BatchQry(code, text, commands, sets);
        }
        EXPECT_EQ(code == 0, each.good) << each.name;
        EXPECT_EQ(got.RowCount() + (sets.Count() == 1 ? sets.At(0).RowCount() : 0),
                  each.good ? kRows : 0)
            << each.name;
        const std::size_t growth = memory.Growth();
        RecordProperty(std::string(each.name) + "_kib", static_cast<int>(growth / 1024));
        if (QXDB_MEASURES_MEMORY != 0) {
            EXPECT_LT(growth, each.mostMemory) << each.name;
        }
    }
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
