// Whose a transaction is, and what ends it besides its client.
#include <gtest/gtest.h>

#include <qxdb/DBMgrErrors.h>

#include "messages/type_codes.h"
#include "tests/server/test_server.h"

namespace qxdb_test {
namespace {

using namespace CQXBASE;
using CQXDB::DBMGR_TRANSACTION_OVER;
using CQXDB::QXCommand;
using CQXSERVER::ServerError;

class TransactionTest : public testing::Test {
  protected:
    TransactionTest() {
        client_.Execute(L"CREATE TABLE t (n)");
        other_.Number(L"SELECT 1");
    }

    static Reply InTransaction(RawClient& client, const std::wstring& id, const wchar_t* text) {
        QXCommand command = client.Command(text);
        command.SetTransaction(id);
        return client.Call(kExecute, command);
    }
    static Reply Begin(RawClient& client, const wchar_t* text) {
        return InTransaction(client, L"|~|begin", text);
    }
    static std::wstring Begin(RawClient& client) {
        const Reply reply = Begin(client, L"BEGIN");
        EXPECT_EQ(reply.code, kExecute);
        return reply.code == kExecute ? reply.Status().text : L"";
    }
    static Reply End(RawClient& client, const std::wstring& id, const wchar_t* verb) {
        return InTransaction(client, id + L"|~|" + verb, L"END");
    }
    static Reply Commit(RawClient& client, const std::wstring& id) {
        return End(client, id, L"commit");
    }
    static Reply Insert(RawClient& client, const std::wstring& id) {
        return InTransaction(client, id, L"INSERT INTO t VALUES (1)");
    }
    std::int64_t Rows() { return other_.Number(L"SELECT count(*) FROM t"); }
    /// One that has inserted a row, whose lock keeps others from writing.
    std::wstring Begun(RawClient& client) {
        std::wstring id = Begin(client);
        EXPECT_EQ(Insert(client, id).Error(), 0);
        EXPECT_EQ(Rows(), 0);
        return id;
    }
    void ExpectOver(RawClient& client, const std::wstring& id) {
        EXPECT_EQ(Insert(client, id).Error(), DBMGR_TRANSACTION_OVER);
        EXPECT_EQ(Commit(client, id).Error(), DBMGR_TRANSACTION_OVER);
        EXPECT_EQ(End(client, id, L"rollback").Error(), DBMGR_TRANSACTION_OVER);
    }
    /// It is rolled back, and its lock gone.
    void ExpectUndone() {
        EXPECT_TRUE(Eventually([&] { return other_.Execute(L"DELETE FROM t").Error() == 0; }));
        EXPECT_EQ(Rows(), 0);
    }

    HandClock clock_;
    TestServer server_{[](CQXSERVER::ServerOptions& options) {
                           options.limits.maxTransactions = 3;
                           options.limits.maxTransactionsOfAccount = 2;
                       },
                       clock_};
    RawClient client_ = server_.LoggedIn();
    RawClient other_ = server_.LoggedIn();
};

TEST_F(TransactionTest, BelongsToItsConnectionAndSession) {
    const std::wstring id = Begun(client_);
    EXPECT_GE(id.size(), 32U);
    ExpectOver(other_, id);
    RawClient sameSession = server_.Connect();
    sameSession.token = client_.token;
    ExpectOver(sameSession, id);
    ExpectOver(client_, L"0123456789abcdef0123456789abcdef");
    for (const wchar_t* verb : {L"", L"COMMIT", L"commit|~|"}) {
        EXPECT_EQ(End(client_, id, verb).Error(), Number(ServerError::UndecodableBody));
    }
    EXPECT_EQ(client_.Number(L"SELECT count(*) FROM t"), 0) << "without it, outside of it";
    EXPECT_EQ(Commit(client_, id).code, kExecute);
    EXPECT_EQ(Rows(), 1);
    ExpectOver(client_, id);
}

TEST_F(TransactionTest, EndsWithItsConnection) {
    for (const bool hard : {false, true}) {
        RawClient client = server_.LoggedIn();
        Begun(client);
        client.Close(hard);
        ExpectUndone();
    }
}

TEST_F(TransactionTest, EndsWithItsSession) {
    const std::wstring id = Begun(client_);
    EXPECT_EQ(client_.CallString(kVirtualLogout, L"ann|~|secret").Error(), 0);
    ExpectUndone();
    EXPECT_EQ(Insert(client_, id).Error(), Number(ServerError::UnknownToken));
}

TEST_F(TransactionTest, EndsWhenNobodyUsesIt) {
    const std::wstring id = Begun(client_);
    clock_.Advance(std::chrono::seconds(50));
    EXPECT_EQ(Insert(client_, id).Error(), 0);
    clock_.Advance(std::chrono::seconds(50));
    EXPECT_EQ(Insert(client_, id).Error(), 0);
    clock_.Advance(std::chrono::seconds(61));
    ExpectUndone();
    ExpectOver(client_, id);
}

TEST_F(TransactionTest, EndsWithTheServer) {
    Begun(client_);
    EXPECT_EQ(server_.Stop(), 0U);
}

TEST_F(TransactionTest, AreBoundedForAnAccountAndForAll) {
    const std::wstring first = Begin(client_);
    Begin(client_);
    EXPECT_EQ(Begin(other_, L"BEGIN").Error(), Number(ServerError::TooManyTransactions));
    server_.AddUser("bob", "secret");
    RawClient bob = server_.Connect();
    bob.Login(L"bob", L"secret");
    Begin(bob);
    EXPECT_EQ(Begin(bob, L"BEGIN").Error(), Number(ServerError::TooManyTransactions));
    EXPECT_EQ(Commit(client_, first).Error(), 0);
    Begin(other_);
}

TEST_F(TransactionTest, FailedAndMeaninglessBeginningsTakeNoPlace) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Begin(client_, L"BEGIN; DELETE FROM t").Error(),
                  Number(ServerError::UndecodableBody));
        QXCommand elsewhere = client_.Command(L"BEGIN", L"nowhere");
        elsewhere.SetTransaction(L"|~|begin");
        EXPECT_EQ(client_.Call(kExecute, elsewhere).Error(), Number(ServerError::UnknownDatabase));
    }
    Begin(client_);
}

}  // namespace
}  // namespace qxdb_test
