// Parameters, lists, transactions and errors.
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <qxdb/DBMgrErrors.h>

#include "tests/adapter/contract.h"
#include "util/text.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

class WorkContract : public Contract {
  protected:
    std::string Count() { return db.Rows("SELECT COUNT(*) FROM t"); }
};

TEST_P(WorkContract, ParametersAreBoundWhereTheyStand) {
    Table("i INTEGER, s VARCHAR(60)");
    const std::string evil = "'); DROP TABLE t; --";
    ASSERT_TRUE(db.Execute("INSERT INTO t (i, s) VALUES (?, ?)",
                           {QXValue::Int64(1), QXValue::TextUtf8(evil)})
                    .ok());
    ASSERT_TRUE(db.Execute("INSERT INTO t (i, s) VALUES (2, '? and $1') -- not here ?").ok());
    const std::string comment = backend.marksInComments ? "/* or ? here */" : "";
    EXPECT_EQ(db.Rows("SELECT s FROM t WHERE " + comment + " i = ?", {QXValue::Int64(1)}),
              evil + "\n");
    EXPECT_EQ(db.Rows("SELECT i FROM t WHERE s = '? and $1' AND i > ?", {QXValue::Int64(0)}),
              "2\n");
    EXPECT_EQ(db.Rows("SELECT i FROM t WHERE s = ? OR i = ? ORDER BY i;  -- the end",
                      {QXValue::TextUtf8(evil), QXValue::Int64(2)}),
              "1\n2\n");
}

TEST_P(WorkContract, AWrongNumberOfParametersRunsNothing) {
    Table("i INTEGER");
    for (const auto& parameters :
         std::vector<std::vector<QXValue>>{{}, {QXValue::Int64(1), QXValue::Int64(2)}}) {
        const Outcome outcome = db.Execute("INSERT INTO t (i) VALUES (?)", parameters);
        EXPECT_EQ(outcome.code, DBMGR_PARAMETER_COUNT) << outcome;
        EXPECT_NE(outcome.text.find(std::to_wstring(parameters.size())), std::wstring::npos)
            << outcome;
    }
    const std::string one = "INSERT INTO t (i) VALUES (?)";
    const std::vector<QXCommand> commands{db.Command(one, {QXValue::Int64(1)}), db.Command(one)};
    for (const Outcome& list : {db.Execute(commands), db.ExecuteReceived(commands)}) {
        EXPECT_EQ(list.code, DBMGR_PARAMETER_COUNT);
        EXPECT_NE(list.text.find(L"command 2 of 2"), std::wstring::npos) << list;
    }
    EXPECT_EQ(Count(), "0\n");
}

TEST_P(WorkContract, TextsWithoutAStatementAreRefused) {
    for (const char* text : {"", "  \n", "-- only a comment\n", "/* nothing */ ;"}) {
        EXPECT_EQ(db.Execute(text).code, DBMGR_EMPTY_STATEMENT) << text;
        QXRecordset rs;
        EXPECT_EQ(db.Query(rs, text).code, DBMGR_EMPTY_STATEMENT) << text;
    }
    EXPECT_EQ(db.Execute(std::string("SELECT 1\0; SELECT 2", 18)).code, DBMGR_BAD_VALUE);
}

TEST_P(WorkContract, AListIsAllOrNothing) {
    Table("i INTEGER PRIMARY KEY");
    const QXCommand insert = db.Command("INSERT INTO t (i) VALUES (?)");
    std::vector<QXCommand> commands(600, insert);
    for (std::size_t i = 0; i < commands.size(); ++i) {
        commands[i].AddParam(QXValue::Int64(static_cast<std::int64_t>(i)));
    }
    for (const std::size_t wrong : {std::size_t{1}, std::size_t{400}, commands.size() - 1}) {
        commands[wrong].SetParam(0, QXValue::Int64(0));
        const std::wstring place = L"(command " + std::to_wstring(wrong + 1) + L" of 600)";
        for (const Outcome& refused : {db.Execute(commands), db.ExecuteReceived(commands)}) {
            EXPECT_EQ(refused.code, backend.duplicateKey) << refused;
            EXPECT_NE(refused.text.find(place), std::wstring::npos) << refused;
            EXPECT_EQ(Count(), "0\n");
        }
        commands[wrong].SetParam(0, QXValue::Int64(static_cast<std::int64_t>(wrong)));
    }
    EXPECT_TRUE(db.Execute(commands).ok());
    EXPECT_EQ(Count(), "600\n");
}

TEST_P(WorkContract, AnErrorNamesTheCommandThatFailedFirst) {
    Table("i INTEGER PRIMARY KEY");
    const std::string insert = "INSERT INTO t (i) VALUES (?)";
    const std::vector<QXCommand> lasts{
        db.Command(insert, {QXValue::Int64(-1)}),  // all is well with it
        db.Command("INSERT INTO t (i) VALUES (-1)"),
        db.Command("SELECT i FROM t"),
        db.Command("SELECT nothing FROM t"),
        db.Command(insert),
        db.Command(insert, {QXValue::Int64(1), QXValue::Int64(2)}),
        db.Command("COMMIT"),
        db.Command("")};
    for (const auto& [size, wrong] : std::vector<std::pair<std::size_t, std::size_t>>{
             {3, 1}, {4, 1}, {4, 2}, {258, 1}, {258, 255}, {258, 256}}) {
        std::vector<QXCommand> commands(size, db.Command(insert));
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t value = i == wrong ? 0 : i;
            commands[i].AddParam(QXValue::Int64(static_cast<std::int64_t>(value)));
        }
        const std::wstring place =
            L"(command " + std::to_wstring(wrong + 1) + L" of " + std::to_wstring(size) + L")";
        for (const QXCommand& last : lasts) {
            commands.back() = last;
            QXRecordset rs;
            QXRsList results;
            for (const Outcome& outcome : {db.Execute(commands), db.ExecuteReceived(commands),
                                           db.Query(rs, commands), db.Batch(results, commands)}) {
                EXPECT_EQ(outcome.code, backend.duplicateKey) << outcome << last.TextUtf8();
                EXPECT_NE(outcome.text.find(place), std::wstring::npos)
                    << outcome << " at " << wrong << " before " << last.TextUtf8();
            }
        }
    }
    EXPECT_EQ(Count(), "0\n");
}

TEST_P(WorkContract, AListMixesTextsAndTypesOfParameters) {
    Table("i INTEGER, s VARCHAR(20), b " + backend.blobType + ", d TIMESTAMP NULL");
    const std::string insert = "INSERT INTO t (i, s, b, d) VALUES (?, ?, ?, ?)";
    const QXValue null;
    const std::vector<QXCommand> commands = {
        db.Command(insert, {null, null, null, null}),
        db.Command(insert, {QXValue::Int64(1), QXValue::TextUtf8("one"), QXValue::Blob("\0b", 2),
                            QXValue::Timestamp(1700000000000000)}),
        db.Command("INSERT INTO t (i) VALUES (2)"),
        db.Command("SELECT * FROM t"),
        db.Command(insert, {QXValue::Int64(3), null, QXValue::Blob("b\0", 2), null}),
        db.Command("UPDATE t SET s = ? WHERE i = ?",
                   {QXValue::TextUtf8("three"), QXValue::Int64(3)})};
    for (const bool received : {false, true}) {
        const Outcome stored = received ? db.ExecuteReceived(commands) : db.Execute(commands);
        ASSERT_TRUE(stored.ok()) << stored;
        EXPECT_EQ(db.Rows("SELECT i, s, b, d FROM t ORDER BY COALESCE(i, 0)"),
                  "NULL|NULL|NULL|NULL\n1|one|\\x0062|2023-11-14 22:13:20\n2|NULL|NULL|NULL\n"
                  "3|three|\\x6200|NULL\n");
        ASSERT_TRUE(db.Execute("DELETE FROM t").ok());
    }
}

TEST_P(WorkContract, AListCannotEndItsTransaction) {
    Table("i INTEGER");
    for (const char* control : {"COMMIT", "rollback", "BEGIN", "/* x */ start transaction"}) {
        const Outcome outcome =
            db.Execute({db.Command("INSERT INTO t (i) VALUES (1)"), db.Command(control)});
        EXPECT_EQ(outcome.code, DBMGR_TRANSACTION_CONTROL) << control;
    }
    EXPECT_EQ(Count(), "0\n");
}

TEST_P(WorkContract, ATransactionLeftOpenIsRolledBackAndSaidSo) {
    Table("i INTEGER");
    EXPECT_EQ(db.Execute("BEGIN").code, DBMGR_OPEN_TRANSACTION);
    EXPECT_EQ(db.Execute("BEGIN; INSERT INTO t (i) VALUES (1)").code, DBMGR_OPEN_TRANSACTION);
    EXPECT_EQ(Count(), "0\n");
    EXPECT_TRUE(db.Execute("BEGIN; INSERT INTO t (i) VALUES (1); COMMIT;").ok());
    EXPECT_EQ(Count(), "1\n");
}

TEST_P(WorkContract, AScriptRunsWholeOrNotAtAll) {
    Table("i INTEGER PRIMARY KEY, s VARCHAR(20)");
    EXPECT_TRUE(
        db.Execute("INSERT INTO t (i, s) VALUES (1, 'a;b'); -- one;\nINSERT INTO t (i) VALUES (2);")
            .ok());
    EXPECT_EQ(db.Rows("SELECT i, s FROM t ORDER BY i"), "1|a;b\n2|NULL\n");
    EXPECT_EQ(db.Execute("INSERT INTO t (i) VALUES (3); INSERT INTO t (i) VALUES (1)").code,
              backend.duplicateKey);
    EXPECT_EQ(Count(), "2\n");
    QXRecordset rs;
    EXPECT_FALSE(db.Query(rs, "SELECT 1; SELECT 2").ok());
    EXPECT_FALSE(db.Execute("INSERT INTO t (i) VALUES (?); INSERT INTO t (i) VALUES (9)",
                            {QXValue::Int64(8)})
                     .ok());
    EXPECT_EQ(Count(), "2\n");
}

TEST_P(WorkContract, ErrorsCarryTheDatabasesCodeAndLeaveTheManagerUsable) {
    Table("i INTEGER PRIMARY KEY");
    ASSERT_TRUE(db.Execute("INSERT INTO t (i) VALUES (1)").ok());
    const Outcome duplicate = db.Execute("INSERT INTO t (i) VALUES (1)");
    EXPECT_EQ(duplicate.code, backend.duplicateKey) << duplicate;
    const Outcome syntax = db.Execute("SELEKT 1");
    EXPECT_EQ(syntax.code, backend.syntaxError) << syntax;
    EXPECT_NE(syntax.text.find(L"SELEKT"), std::wstring::npos) << syntax;
    QXRecordset rs;
    const Outcome missing = db.Query(rs, "SELECT * FROM no_such_table");
    EXPECT_EQ(missing.code, backend.missingTable) << missing;
    EXPECT_EQ(rs.ColumnCount(), 0U);
    EXPECT_EQ(Count(), "1\n");
}

TEST_P(WorkContract, StatementsFollowAChangedSchema) {
    Table("i INTEGER");
    ASSERT_TRUE(db.Execute("INSERT INTO t VALUES (1)").ok());
    EXPECT_EQ(db.Rows("SELECT * FROM t"), "1\n");
    ASSERT_TRUE(db.Execute("ALTER TABLE t ADD s VARCHAR(9) DEFAULT 'new'").ok());
    EXPECT_EQ(db.Rows("SELECT * FROM t"), "1|new\n");
    ASSERT_TRUE(db.Execute("DROP TABLE t").ok());
    Table("other VARCHAR(9)");
    EXPECT_EQ(db.Rows("SELECT * FROM t"), "");
}

TEST_P(WorkContract, AListQueryGivesTheRowsOfTheLastCommand) {
    Table("i INTEGER");
    QXRecordset rs;
    const QXCommand insert = db.Command("INSERT INTO t (i) VALUES (5)");
    ASSERT_TRUE(db.Query(rs, {insert, insert, db.Command("SELECT i FROM t")}).ok());
    EXPECT_EQ(TextOf(rs), "5\n5\n");
    EXPECT_FALSE(db.Query(rs, {insert, db.Command("SELECT nothing FROM t")}).ok());
    EXPECT_EQ(rs.ColumnCount(), 0U);
    EXPECT_EQ(Count(), "2\n");
}

TEST_P(WorkContract, ABatchGivesOneRecordsetACommand) {
    Table("i INTEGER");
    QXRsList out;
    const std::vector<QXCommand> commands{
        db.Command("INSERT INTO t (i) VALUES (?)", {QXValue::Int64(6)}),
        db.Command("SELECT i FROM t"),
        db.Command("SELECT i, i + ? AS more FROM t", {QXValue::Int64(1)})};
    ASSERT_TRUE(db.Batch(out, commands).ok());
    ASSERT_EQ(out.Count(), 3U);
    EXPECT_EQ(out.At(0).ColumnCount(), 0U);
    EXPECT_EQ(TextOf(out.At(1)), "6\n");
    EXPECT_EQ(out.At(2).ColumnName(1), L"more");
    EXPECT_EQ(out.At(2).GetInt64(0, 1), 7);
    EXPECT_FALSE(db.Batch(out, {commands[0], db.Command("SELECT nothing FROM t")}).ok());
    EXPECT_TRUE(out.Empty());
    EXPECT_EQ(Count(), "1\n");
}

TEST_P(WorkContract, ManyThreadsShareThePool) {
    Table("i INTEGER PRIMARY KEY, thread INTEGER");
    constexpr int kThreads = 8;
    constexpr int kRounds = 20;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([this, t] {
            Client own(backend);
            for (int i = 0; i < kRounds; ++i) {
                const Outcome stored =
                    own.Execute("INSERT INTO t (i, thread) VALUES (?, ?)",
                                {QXValue::Int64(t * 1000 + i), QXValue::Int64(t)});
                const std::string seen =
                    own.Rows("SELECT COUNT(*) FROM t WHERE thread = ?", {QXValue::Int64(t)});
                EXPECT_EQ(seen, std::to_string(i + 1) + "\n") << stored;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(Count(), std::to_string(kThreads * kRounds) + "\n");
}

TEST_P(WorkContract, MissingCommandsAndBadOptionsAreReported) {
    Client odd(backend);
    odd.DataSource().options = "pool_size=none";
    EXPECT_EQ(odd.Connect().code, DBMGR_BAD_OPTION);
    DBMgrWithPOCO manager;
    QXRecordset rs;
    manager.OpenQuery(static_cast<QXCommand*>(nullptr), rs);
    EXPECT_EQ(manager.errNumber(), DBMGR_NO_COMMAND);
    EXPECT_TRUE(db.Connect().ok());
}

TEST_P(WorkContract, WhatAUserLeavesInASessionIsNotMetByAnother) {
    db.DataSource().options += ";pool_size=1";
    for (const char* const user : {"ann", "bob", "ann"}) {
        db.SetSessionUser(user);
        EXPECT_FALSE(db.Execute("SELECT * FROM mine").ok()) << user;
        ASSERT_TRUE(db.Execute("CREATE TEMPORARY TABLE mine (i INTEGER)").ok());
        EXPECT_EQ(db.Rows("SELECT COUNT(*) FROM mine"), "0\n");
    }
}

class TimeLimitContract : public Contract {};

TEST_P(TimeLimitContract, AStatementThatRunsForTooLongIsEnded) {
    db.DataSource().options += ";statement_timeout=50";
    EXPECT_FALSE(db.Execute(backend.minuteLong).ok());
    QXRecordset rs;
    EXPECT_FALSE(db.Query(rs, backend.minuteLong).ok());
    EXPECT_EQ(db.Rows("SELECT 1"), "1\n");
}

INSTANTIATE_TEST_SUITE_P(On, TimeLimitContract, testing::ValuesIn(ExactBackends()), BackendName);
INSTANTIATE_TEST_SUITE_P(On, WorkContract, testing::ValuesIn(Backends()), BackendName);

}  // namespace
}  // namespace qxdb_test
