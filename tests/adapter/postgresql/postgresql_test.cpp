// What is particular to PostgreSQL.
#include <csignal>
#include <string>

#include <gtest/gtest.h>

#include <qxdb/DBMgrErrors.h>
#include <qxdb/QXDateTime.h>

#include "tests/adapter/contract.h"
#include "tests/adapter/servers.h"
#include "tests/support/PeakMemory.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

class PostgreSqlTest : public testing::Test {
  protected:
    Client db{PostgreSqlBackend()};
};

TEST_F(PostgreSqlTest, ValuesOutsideOfATypesRangeStayReadable) {
    QXRecordset rs;
    const Outcome outcome = db.Query(
        rs,
        "SELECT 'NaN'::numeric, 'infinity'::date, '0044-03-15 BC'::date, '-infinity'::timestamptz, "
        "12345678901234567890.123456789012345678901234567890::numeric, 'NaN'::float8, "
        "'inf'::float4, "
        "4294967295::oid, '2024-01-01 00:00:00+02'::timestamptz, '24:00'::time, '{1,2}'::int[], "
        "'1 mon 2 days'::interval, 'a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11'::uuid, 1e-20::numeric");
    ASSERT_TRUE(outcome.ok()) << outcome;
    EXPECT_EQ(
        TextOf(rs),
        "NaN|infinity|0044-03-15 BC|-infinity|12345678901234567890.123456789012345678901234567890|"
        "nan|inf|4294967295|2023-12-31 22:00:00|24:00:00|{1,2}|1 mon 2 days|"
        "a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11|0.00000000000000000001\n");
    EXPECT_EQ(rs.TypeAt(0, 0), QXValueType::Text);
    EXPECT_EQ(rs.TypeAt(0, 4), QXValueType::Decimal);
    EXPECT_EQ(rs.TypeAt(0, 8), QXValueType::Timestamp);
}

TEST_F(PostgreSqlTest, WhatTheServerCannotTakeIsRefusedInWords) {
    const Outcome nul = db.Execute("SELECT ?::text", {QXValue::TextUtf8(std::string("a\0b", 3))});
    EXPECT_EQ(nul.code, DBMGR_BAD_VALUE);
    EXPECT_NE(nul.text.find(L"parameter 1 holds a NUL"), std::wstring::npos) << nul;
    EXPECT_FALSE(db.Execute("COPY pg_class TO STDOUT").ok());
    ASSERT_TRUE(db.Execute("CREATE TABLE IF NOT EXISTS copied (i int)").ok());
    for (const std::string copy : {"COPY copied FROM STDIN", "COPY pg_class TO STDOUT"}) {
        QXRecordset rs;
        QXRsList results;
        const QXCommand command = db.Command(copy);
        EXPECT_FALSE(db.Execute(copy).ok());
        EXPECT_FALSE(db.Execute(copy + ";" + copy).ok());
        EXPECT_FALSE(db.Execute({command, command}).ok());
        EXPECT_FALSE(db.Query(rs, copy).ok());
        EXPECT_FALSE(db.Batch(results, {command, command}).ok());
        EXPECT_EQ(db.Rows("SELECT 1"), "1\n");
    }
}

TEST_F(PostgreSqlTest, AConstraintThatFailsAtTheEndRollsTheListBack) {
    ASSERT_TRUE(db.Execute("DROP TABLE IF EXISTS late; CREATE TABLE late (i int PRIMARY KEY, "
                           "r int REFERENCES late DEFERRABLE INITIALLY DEFERRED)")
                    .ok());
    const QXCommand bad = db.Command("INSERT INTO late VALUES (1, 2)");
    EXPECT_EQ(db.Execute({bad}).code, SqlStateCode("23503"));
    EXPECT_EQ(db.Rows("SELECT count(*) FROM late"), "0\n");
    EXPECT_TRUE(db.Execute({bad, db.Command("INSERT INTO late VALUES (2, 1)")}).ok());
}

TEST_F(PostgreSqlTest, QuestionMarksAndDollarsMeanWhatTheySay) {
    EXPECT_EQ(db.Rows("SELECT '{\"a\": 1}'::jsonb ?? ?, '$1 costs $5', $$ ? $1 $$, E'\\'?'",
                      {QXValue::TextUtf8("a")}),
              "true|$1 costs $5| ? $1 |'?\n");
    EXPECT_EQ(db.Rows("SELECT ?::bigint + ?", {QXValue::Int64(40), QXValue::Int64(2)}), "42\n");
    ASSERT_TRUE(db.Execute("CREATE OR REPLACE FUNCTION twice(int) RETURNS int LANGUAGE sql AS "
                           "$f$ SELECT $1 * 2; $f$")
                    .ok());
    EXPECT_EQ(db.Rows("SELECT twice(?)", {QXValue::Int64(21)}), "42\n");
}

TEST_F(PostgreSqlTest, OptionsArriveAndATimestampMeansTheSameInstantBothWays) {
    const QXValue at = QXValue::Timestamp(QXDateTime::Timestamp(2026, 7, 1, 12, 0, 0));
    Client elsewhere(db);
    elsewhere.DataSource().options =
        "timezone=Asia/Tokyo;options=-c qxdb.label=gr\u00FC\u00DFe\u4E2D";
    EXPECT_EQ(db.Rows("SELECT ?::timestamptz", {at}), "2026-07-01 12:00:00\n");
    EXPECT_EQ(elsewhere.Rows("SELECT ?::timestamptz, current_setting('qxdb.label')", {at}),
              "2026-07-01 03:00:00|gr\u00FC\u00DFe\u4E2D\n");
}

TEST_F(PostgreSqlTest, FailedLoginsSayWhy) {
    Client stranger(db);
    stranger.DataSource().password = L"wrong";
    const Outcome refused = stranger.Connect();
    EXPECT_EQ(refused.code, SqlStateCode("08001"));
    EXPECT_NE(refused.text.find(L"password"), std::wstring::npos) << refused;
    Client lost(db);
    lost.DataSource().database = L"no such database";
    EXPECT_NE(lost.Connect().text.find(L"no such database"), std::wstring::npos);
    Client odd(db);
    odd.DataSource().options = "sslmod=require";
    EXPECT_EQ(odd.Connect().code, DBMGR_BAD_OPTION);
    odd.DataSource().options = "sslkey=/tmp/library.so:key";
    EXPECT_EQ(odd.Connect().code, DBMGR_BAD_OPTION);
}

TEST_F(PostgreSqlTest, AServerThatGoesAndComesBackIsMetAgain) {
    EXPECT_EQ(GoAndComeBack(db, Postgres()).code, SqlStateCode("08001"));
    const QXCommand one = db.Command("SELECT ?::int", {QXValue::Int64(1)});
    const QXCommand end =
        db.Command("SELECT pg_terminate_backend(pg_backend_pid()), ?::int", {QXValue::Int64(1)});
    const Outcome ended = db.Execute({one, end, one, one});
    EXPECT_EQ(ended.code, SqlStateCode("57P01"));
    EXPECT_NE(ended.text.find(L"(command 2 of 4)"), std::wstring::npos) << ended;
    const Outcome many = db.Execute({one, db.Command("SELECT 1/(?::int - 1)", {QXValue::Int64(1)}),
                                     db.Command(
                                         "SELECT 1" +
                                             [] {
                                                 std::string marks;
                                                 for (int i = 0; i < 70000; ++i) {
                                                     marks += ",?";
                                                 }
                                                 return marks;
                                             }(),
                                         std::vector<QXValue>(70000, QXValue::Int64(1)))});
    EXPECT_EQ(many.code, SqlStateCode("22012")) << many;
    EXPECT_EQ(db.Rows("SELECT 4"), "4\n");
}

TEST_F(PostgreSqlTest, AStatementThatCatchesItsEndCanBeCancelled) {
    const auto runs = [this] {
        return db.Rows("SELECT count(*) FROM pg_stat_activity WHERE wait_event = 'PgSleep'") !=
               "0\n";
    };
    const Outcome outcome = CancelledOnce(db, runs, [](Client& client) {
        const std::string caught = " EXCEPTION WHEN query_canceled THEN END; END LOOP; ";
        return client.Execute("DO $$ BEGIN LOOP BEGIN LOOP BEGIN LOOP BEGIN PERFORM pg_sleep(60);" +
                              caught + caught + caught + "END $$");
    });
    EXPECT_EQ(outcome.code, DBMGR_CANCELLED) << outcome;
    EXPECT_FALSE(runs());
    EXPECT_EQ(db.Rows("SELECT 1"), "1\n");
}

TEST_F(PostgreSqlTest, ACallEndsThoughTheServerStandsStill) {
    pid_t backend = 0;
    const auto runs = [&] {
        const std::string pid =
            db.Rows("SELECT pid FROM pg_stat_activity WHERE wait_event = 'PgSleep'");
        backend = pid.empty() ? 0 : std::stoi(pid);
        return backend != 0 && kill(backend, SIGSTOP) == 0;
    };
    const std::string sleep = PostgreSqlBackend().minuteLong;
    const Outcome outcome = CancelledOnce(db, runs, [&](Client& client) {
        return client.Execute({client.Command(sleep), client.Command(sleep)});
    });
    EXPECT_EQ(outcome.code, DBMGR_CANCELLED) << outcome;
    EXPECT_EQ(kill(backend, SIGCONT), 0);
    EXPECT_EQ(db.Rows("SELECT 1"), "1\n");
}

TEST_F(PostgreSqlTest, RowsThatNobodyWantsTakeNoMemory) {
    const std::string gigabyte =
        "SELECT repeat('x', 1000) FROM generate_series(1, 1000000) WHERE ?::bool";
    const PeakMemory memory;
    EXPECT_TRUE(db.Execute(gigabyte, {QXValue::Bool(true)}).ok());
    EXPECT_TRUE(db.Execute({db.Command(gigabyte, {QXValue::Bool(true)}),
                            db.Command(gigabyte, {QXValue::Bool(true)})})
                    .ok());
    db.SetMaxResultBytes(1000000);
    QXRecordset rs;
    EXPECT_EQ(db.Query(rs, gigabyte, {QXValue::Bool(true)}).code, DBMGR_RESULT_TOO_LARGE);
    rs.setPageSize(900000);
    EXPECT_EQ(db.Query(rs, gigabyte, {QXValue::Bool(true)}).code, DBMGR_RESULT_TOO_LARGE);
    EXPECT_EQ(db.Rows("SELECT 1"), "1\n");
    if (QXDB_MEASURES_MEMORY != 0) {
        EXPECT_LT(memory.Growth(), std::size_t{600} << 20);
    }
}

TEST_F(PostgreSqlTest, WhatTheServerSendsUnaskedTakesNoMemory) {
    db.DataSource().options += ";pool_size=1";
    ASSERT_TRUE(db.Execute("LISTEN news").ok());
    const std::string notify =
        "DO $$ BEGIN FOR i IN 1..8000 LOOP PERFORM pg_notify('news', lpad(i::text, 7900)); "
        "END LOOP; END $$";
    const std::string pid = db.Rows("SELECT pg_backend_pid()");
    const PeakMemory memory;
    EXPECT_TRUE(db.Execute(notify).ok()) << "of its own";
    Client other(db);
    other.DataSource().options += ";application_name=other";
    EXPECT_TRUE(other.Execute(notify).ok());
    EXPECT_EQ(db.Rows("SELECT pg_backend_pid()"), pid) << "of others, while it was idle";
    EXPECT_TRUE(db.Execute("DO $$ BEGIN FOR i IN 1..8000 LOOP RAISE NOTICE '%', "
                           "lpad('x', 7900); END LOOP; END $$")
                    .ok());
    if (QXDB_MEASURES_MEMORY != 0) {
        EXPECT_LT(memory.Growth(), std::size_t{32} << 20);
    }
}

TEST_F(PostgreSqlTest, ASessionEndsThatNobodyUses) {
    Client brief(db);
    brief.DataSource().options += ";pool_idle=1;application_name=brief";
    EXPECT_EQ(brief.Rows("SELECT 1"), "1\n");
    const std::string sessions =
        "SELECT count(*) FROM pg_stat_activity WHERE application_name = 'brief'";
    EXPECT_EQ(db.Rows(sessions), "1\n");
    while (db.Rows(sessions) != "0\n") {
        DBMgrWithPOCO().CloseExpiredConn();
    }
    EXPECT_EQ(brief.Rows("SELECT 1"), "1\n");
}

TEST_F(PostgreSqlTest, AConnectionWithAVeryLargeBufferIsNotKept) {
    db.DataSource().options += ";pool_size=1";
    for (const char* large :
         {"SELECT repeat('x', 20000000)", "COPY (SELECT repeat('x', 20000000)) TO STDOUT",
          "DO $$ BEGIN RAISE NOTICE '%', repeat('x', 20000000); END $$"}) {
        const std::string pid = db.Rows("SELECT pg_backend_pid()");
        db.Execute(large);
        EXPECT_NE(db.Rows("SELECT pg_backend_pid()"), pid) << large;
    }
}

TEST_F(PostgreSqlTest, ASessionThatChangesHandsHasItsSettingsAgain) {
    db.DataSource().options += ";pool_size=1;statement_timeout=60000";
    db.SetSessionUser("ann");
    ASSERT_TRUE(db.Execute("SET TimeZone = 'Asia/Tokyo'; SET statement_timeout = 0; "
                           "SET search_path = pg_catalog; SET DateStyle = 'German'")
                    .ok());
    ASSERT_TRUE(
        db.Execute("LISTEN news; SELECT pg_advisory_lock(1); PREPARE p AS SELECT 1; "
                   "SET qxdb.secret = 'ann''s'; SET SESSION AUTHORIZATION tester; "
                   "CREATE SEQUENCE IF NOT EXISTS public.counted; SELECT nextval('public.counted')")
            .ok());
    ASSERT_TRUE(db.Execute({db.Command("DECLARE c CURSOR WITH HOLD FOR SELECT 1")}).ok());
    const std::string left =
        "SELECT (SELECT count(*) FROM pg_listening_channels()), (SELECT count(*) FROM pg_locks "
        "WHERE locktype = 'advisory'), (SELECT count(*) FROM pg_prepared_statements), "
        "(SELECT count(*) FROM pg_cursors WHERE name = 'c'), current_setting('qxdb.secret', true)";
    EXPECT_EQ(db.Rows(left), "1|1|1|1|ann's\n");
    const std::string pid = db.Rows("SELECT pg_backend_pid()");
    db.SetSessionUser("bob");
    EXPECT_EQ(db.Rows("SELECT current_setting('TimeZone'), current_setting('statement_timeout'), "
                      "current_schema(), DATE '2026-11-23'"),
              "UTC|1min|public|2026-11-23\n");
    EXPECT_EQ(db.Rows(left), "0|0|0|0|\n");
    EXPECT_NE(db.Rows("SELECT lastval()").find("55000"), std::string::npos);
    EXPECT_EQ(db.Rows("SELECT pg_backend_pid()"), pid) << "a connection was thrown away";
}

}  // namespace
}  // namespace qxdb_test
