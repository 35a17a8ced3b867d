// Calls are ended from another thread.
#include <functional>
#include <string>
#include <vector>

#include <qxdb/DBMgrErrors.h>

#include "tests/adapter/contract.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

class CancelContract : public Contract {
  protected:
    /// True while the statement of a minute, or a list with it, runs.
    bool Runs() {
        if (!backend.minuteLongRuns.empty()) {
            return db.Rows(backend.minuteLongRuns) != "0\n";
        }
        Client probe(backend.dataSource, false);
        probe.DataSource().type = CQXDB_DS_EMBEDDED;
        probe.DataSource().driver = CQXDB_DRIVER_DEFAULT;
        probe.DataSource().options = "busy_timeout=0";
        const bool locked = !probe.Execute("BEGIN EXCLUSIVE; COMMIT").ok();
        probe.CloseConn();
        return locked;
    }
    /// Reads the table, so that an embedded database shows that it runs.
    std::string MinuteLong() const {
        return backend.minuteLong + " WHERE 0 <= (SELECT COUNT(*) FROM t)";
    }

    /// How `call`, which takes a client, ends when it is cancelled while the database is at it.
    template <typename Call>
    Outcome Cancelled(Call call) {
        const auto runs = [this] { return Runs(); };
        const Outcome outcome = CancelledOnce(One(), runs, call);
        while (Runs()) {
        }
        return outcome;
    }
    /// Of a pool with a single connection, which a call that keeps it would block.
    Client One() const {
        Client one(backend);
        one.DataSource().options += ";pool_size=1;pool_timeout=1";
        return one;
    }
};

TEST_P(CancelContract, AStatementEndsAndTheNextCallWorks) {
    Table("i INTEGER");
    for (int round = 0; round < 3; ++round) {
        QXRecordset rs;
        const Outcome query =
            Cancelled([&](Client& client) { return client.Query(rs, MinuteLong()); });
        EXPECT_EQ(query.code, DBMGR_CANCELLED) << query;
        EXPECT_EQ(rs.ColumnCount(), 0U);
        const Outcome execute =
            Cancelled([&](Client& client) { return client.Execute(MinuteLong()); });
        EXPECT_EQ(execute.code, DBMGR_CANCELLED) << execute;
        EXPECT_EQ(One().Rows("SELECT 1"), "1\n");
    }
}

TEST_P(CancelContract, AListAndAScriptAreRolledBack) {
    Table("i INTEGER");
    const QXCommand insert = db.Command("INSERT INTO t (i) VALUES (1)");
    const std::vector<QXCommand> commands{insert, db.Command(MinuteLong()), insert};
    QXRsList results;
    QXRecordset rs;
    for (const auto& call : std::vector<std::function<Outcome(Client&)>>{
             [&](Client& client) { return client.Execute(commands); },
             [&](Client& client) { return client.ExecuteReceived(commands); },
             [&](Client& client) { return client.Query(rs, commands); },
             [&](Client& client) { return client.Batch(results, commands); },
             [&](Client& client) {
                 return client.Execute(insert.TextUtf8() + ";" + MinuteLong() + ";" +
                                       insert.TextUtf8());
             }}) {
        const Outcome outcome = Cancelled(call);
        EXPECT_EQ(outcome.code, DBMGR_CANCELLED) << outcome;
        EXPECT_EQ(One().Rows("SELECT COUNT(*) FROM t"), "0\n");
    }
    EXPECT_TRUE(results.Empty());
}

TEST_P(CancelContract, ACallThatIsCancelledBeforeItBeginsDoesNothing) {
    Table("i INTEGER");
    Cancellation cancellation;
    cancellation.Cancel();
    Client client = One();
    client.SetCancellation(&cancellation);
    EXPECT_EQ(client.Execute("INSERT INTO t (i) VALUES (1)").code, DBMGR_CANCELLED);
    EXPECT_EQ(client.Connect().code, DBMGR_CANCELLED);
    client.SetCancellation(nullptr);
    EXPECT_EQ(client.Rows("SELECT COUNT(*) FROM t"), "0\n");
}

INSTANTIATE_TEST_SUITE_P(On, CancelContract, testing::ValuesIn(CancellableBackends()), BackendName);

}  // namespace
}  // namespace qxdb_test
