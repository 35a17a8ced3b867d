// What an agent makes of a transaction whose server or answers get lost.
#include <gtest/gtest.h>

#include <qxdb/DBAgent.h>
#include <qxdb/DBMgrErrors.h>

#include "messages/session_records.h"
#include "messages/type_codes.h"
#include "objects/encoding/cdr_fields.h"
#include "scripted_server.h"
#include "tests/support/TestTls.h"

namespace {

using namespace CQXDB;
using CQXBASE::QXSimpleMsg;
using qxdb_test::ScriptedServer;

class AgentTransaction : public testing::Test {
  protected:
    AgentTransaction() {
        agent_.init(L"127.0.0.1:" + std::to_wstring(server_.Port()), {}, L"tok", false, L"main");
        qxdb_test::UseTestTls(agent_);
    }
    void Begin() {
        server_.Reply(CQXBASE::kExecute, QXSimpleMsg(L"id", 0));
        agent_.Begin(code_, text_);
        EXPECT_EQ(code_, 0);
        EXPECT_TRUE(agent_.InTransaction());
    }
    long Execute() {
        agent_.Execute(code_, text_, command_);
        return code_;
    }
    long Commit() {
        agent_.Commit(code_, text_);
        EXPECT_FALSE(agent_.InTransaction());
        return code_;
    }
    void ExpectOver() {
        server_.Reply(CQXBASE::kErrorReply,
                      QXSimpleMsg(L"over", static_cast<std::uint32_t>(DBMGR_TRANSACTION_OVER)));
    }

    ScriptedServer server_;
    DBAgent agent_;
    long code_ = 0;
    std::wstring text_;
    QXCommand command_{L"SELECT 1"};
};

TEST_F(AgentTransaction, MarksItsCommandsAndNoOthers) {
    Begin();
    server_.Reply(CQXBASE::kExecute, QXSimpleMsg(L"", 0));
    EXPECT_EQ(Execute(), 0);
    server_.Reply(CQXBASE::kExecute, QXSimpleMsg(L"", 0));
    EXPECT_EQ(Commit(), 0);
    server_.Reply(CQXBASE::kExecute, QXSimpleMsg(L"", 0));
    EXPECT_EQ(Execute(), 0);
    std::vector<std::wstring> tokens;
    for (const auto& request : server_.Requests()) {
        QXCommand sent;
        ACE_InputCDR in(request.body.data(), request.body.size(),
                        ACE_CDR::BYTE_ORDER_LITTLE_ENDIAN);
        ASSERT_NE(sent.fromCDR(in), 0);
        tokens.push_back(sent.Token());
    }
    EXPECT_EQ(tokens, (std::vector<std::wstring>{L"tok|~||~|begin", L"tok|~|id",
                                                 L"tok|~|id|~|commit", L"tok"}));
}

TEST_F(AgentTransaction, ACommitWithoutAnAnswerHasAnUnknownOutcome) {
    Begin();
    server_.Hangup();
    EXPECT_EQ(Commit(), DBMGR_OUTCOME_UNKNOWN) << "it was sent";
    Begin();
    server_.ReplyRaw("no frame of any kind");
    EXPECT_EQ(Commit(), DBMGR_OUTCOME_UNKNOWN);
    Begin();
    ExpectOver();
    EXPECT_EQ(Commit(), DBMGR_TRANSACTION_OVER) << "the server knows";
}

TEST_F(AgentTransaction, StaysUntilItIsEndedWhateverHappens) {
    Begin();
    server_.Hangup();
    EXPECT_NE(Execute(), 0);
    EXPECT_TRUE(agent_.InTransaction());
    ExpectOver();
    EXPECT_EQ(Execute(), DBMGR_TRANSACTION_OVER) << "over another connection";
    agent_.SetIsLocal(true);
    EXPECT_EQ(Execute(), DBMGR_OTHER_DATABASE);
    agent_.SetIsLocal(false);
    server_.Hangup();
    agent_.Rollback(code_, text_);
    EXPECT_EQ(code_, 0) << "nothing of it is left";
    EXPECT_FALSE(agent_.InTransaction());
}

TEST_F(AgentTransaction, IsNotBegunByAnAnswerThatNamesNone) {
    server_.Reply(CQXBASE::kExecute, QXSimpleMsg(L"", 0));
    agent_.Begin(code_, text_);
    EXPECT_NE(code_, 0);
    EXPECT_FALSE(agent_.InTransaction());
}

}  // namespace
