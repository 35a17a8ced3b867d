// Replies of a server that lies: every byte of the header, every count, length and code of every
// kind of body, and every place where a reply may end.
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <qxdb/DBAgent.h>

#include "messages/session_records.h"
#include "messages/type_codes.h"
#include "tests/agent/scripted_server.h"
#include "tests/support/Frame.h"

namespace {

using namespace CQXDB;
using qxdb_test::EncodeRecord;
using qxdb_test::MakeFrame;

/// Most memory that the process has had since ForgetPeak(), in bytes.
std::size_t Peak() {
    std::ifstream status("/proc/self/status");
    std::string word;
    std::size_t kib = 0;
    while (status >> word && word != "VmHWM:") {
    }
    status >> kib;
    return kib * 1024;
}

void ForgetPeak() {
    std::ofstream("/proc/self/clear_refs") << 5;
}

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

/// Frames of which each differs from `frame` in one place, or ends early.
std::vector<std::string> Lies(const std::string& frame) {
    std::vector<std::string> lies;
    for (std::size_t place = 0; place < CQXBASE::kFrameHeaderSize; ++place) {
        for (const char byte : {'\0', '\1', '\x7f', '\x80', '\xff'}) {
            lies.push_back(frame);
            lies.back()[place] = byte;
        }
    }
    for (std::size_t length = 0; length < frame.size(); ++length) {
        lies.push_back(frame.substr(0, length));
    }
    for (std::size_t place = CQXBASE::kFrameHeaderSize; place < frame.size(); ++place) {
        for (const char* word : {"\0\0\0\0", "\xff\xff\xff\x7f", "\xff\xff\xff\xff"}) {
            lies.push_back(frame);
            lies.back().replace(place, 4, word, std::min<std::size_t>(4, frame.size() - place));
        }
    }
    return lies;
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
    ForgetPeak();
    const std::size_t before = Peak();
    for (const std::string& lie : Lies(honest)) {
        server_.ReplyRaw(lie);
        const Outcome outcome = Ask();
        EXPECT_TRUE(outcome == Outcome::Error || lie.size() == honest.size())
            << lie.size() << " bytes were enough";
    }
    if (QXDB_MEASURES_MEMORY != 0) {
        EXPECT_LT(Peak() - before, std::size_t{64} << 20);
    }
    server_.ReplyRaw(honest);
    EXPECT_EQ(Ask(), Outcome::Success);
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
