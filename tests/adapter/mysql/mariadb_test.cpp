// What is particular to MySQL and MariaDB.
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include <qxdb/DBMgrErrors.h>

#include "tests/adapter/contract.h"
#include "tests/adapter/servers.h"
#include "tests/support/PeakMemory.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;
using T = QXValueType;

class MariaDbTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(db.Execute("DROP TABLE IF EXISTS m").ok()); }

    Client db{MariaDbBackend()};
};

TEST_F(MariaDbTest, EveryColumnTypeIsRead) {
    ASSERT_TRUE(
        db.Execute(
              "CREATE TABLE m (a BIGINT UNSIGNED, b TINYINT(1), c TINYINT UNSIGNED, d YEAR, "
              "e BIT(1), f BIT(40), g TIMESTAMP(3) NULL, h JSON, i ENUM('x','y'), j SET('p','q'), "
              "k FLOAT, l MEDIUMTEXT, n LONGBLOB, o TIME(2), p DATE, q BINARY(3), r GEOMETRY)")
            .ok());
    ASSERT_TRUE(
        db.Execute("INSERT INTO m VALUES (18446744073709551615, 1, 255, 2026, 1, 1099511627775, "
                   "'2026-01-02 03:04:05.678', '{\"a\": 1}', 'y', 'p,q', 0.5, 'text', x'00ff', "
                   "'-838:59:58.25', '0000-00-00', 'ab', POINT(1, 2)), "
                   "(9223372036854775807, 5, 0, 1901, 0, 0, NULL, '[]', 'x', '', -1, '', '', "
                   "'00:00:00', '2024-02-29', '', NULL)")
            .ok());
    QXRecordset rs;
    const Outcome outcome = db.Query(rs, "SELECT * FROM m");
    ASSERT_TRUE(outcome.ok()) << outcome;
    EXPECT_EQ(
        TextOf(rs),
        "18446744073709551615|true|255|2026|true|1099511627775|2026-01-02 03:04:05.678|{\"a\": 1}|"
        "y|p,q|0.5|text|\\x00ff|-838:59:58.25|0000-00-00|\\x616200|"
        "\\x000000000101000000000000000000f03f0000000000000040\n"
        "9223372036854775807|5|0|1901|false|0|NULL|[]|x||-1||\\x|00:00:00|2024-02-29|\\x000000|"
        "NULL\n");
    EXPECT_EQ(rs.TypeAt(0, 0), T::Decimal);
    EXPECT_EQ(rs.TypeAt(1, 0), T::Int64);
    EXPECT_EQ(rs.TypeAt(0, 1), T::Bool);
    EXPECT_EQ(rs.TypeAt(1, 1), T::Int64);
    EXPECT_EQ(rs.TypeAt(0, 13), T::Time);
    EXPECT_EQ(rs.TypeAt(0, 14), T::Text) << "no such day";
    EXPECT_EQ(rs.TypeAt(1, 14), T::Date);
    EXPECT_EQ(db.Rows("SELECT NULL, 1 = 1, CAST(? AS DECIMAL(30,20)), ? = "
                      "CAST('12345678901234567890123456789012345678' AS DECIMAL(38))",
                      {QXValue::Decimal("0.12345678901234567890"),
                       QXValue::Decimal("12345678901234567890123456789012345679")}),
              "NULL|1|0.12345678901234567890|0\n");
}

TEST_F(MariaDbTest, ProceduresWithSeveralResultsLeaveTheConnectionInOrder) {
    ASSERT_TRUE(db.Execute("DROP PROCEDURE IF EXISTS pr").ok());
    ASSERT_TRUE(db.Execute("CREATE PROCEDURE pr(n INT) BEGIN SELECT n; SELECT n + 1; END").ok());
    EXPECT_EQ(db.Rows("CALL pr(?)", {QXValue::Int64(7)}), "7\n");
    EXPECT_TRUE(db.Execute("CALL pr(1)").ok());
    EXPECT_TRUE(db.Execute("CALL pr(?)", {QXValue::Int64(1)}).ok());
    QXRecordset rs;
    rs.setPageSize(5);
    EXPECT_TRUE(db.Query(rs, "CALL pr(3)").ok());
    EXPECT_EQ(db.Rows("SELECT 1"), "1\n");
}

TEST_F(MariaDbTest, AStatementThatCatchesItsEndCanBeCancelled) {
    const auto runs = [this] {
        return db.Rows(
                   "SELECT COUNT(*) FROM information_schema.processlist "
                   "WHERE state = 'User sleep'") != "0\n";
    };
    const Outcome outcome = CancelledOnce(db, runs, [](Client& client) {
        return client.Execute(
            "BEGIN NOT ATOMIC DECLARE CONTINUE HANDLER FOR SQLEXCEPTION SET @x = "
            "1; LOOP SET @x = SLEEP(60); END LOOP; END");
    });
    EXPECT_EQ(outcome.code, DBMGR_CANCELLED) << outcome;
    EXPECT_EQ(db.Rows("SELECT 1"), "1\n");
}

TEST_F(MariaDbTest, NoFileOfThisProcessIsSent) {
    ASSERT_TRUE(db.Execute("CREATE TABLE m (s TEXT); SET GLOBAL local_infile = 1").ok());
    for (const std::string& load :
         {std::string("LOAD DATA LOCAL INFILE '/etc/passwd' INTO TABLE m"),
          std::string("DO 1; LOAD DATA LOCAL INFILE '/etc/passwd' INTO TABLE m")}) {
        EXPECT_FALSE(db.Execute(load).ok());
        EXPECT_FALSE(db.Execute({db.Command(load)}).ok());
        QXRecordset rs;
        EXPECT_FALSE(db.Query(rs, load).ok());
    }
    EXPECT_EQ(db.Rows("SELECT COUNT(*) FROM m"), "0\n");
}

TEST_F(MariaDbTest, AConnectionWithAVeryLargeBufferIsNotKept) {
    db.DataSource().options += ";pool_size=1";
    for (const bool query : {true, false}) {
        const std::string id = db.Rows("SELECT connection_id()");
        const std::string large = "SELECT REPEAT('x', 20000000)";
        QXRecordset rs;
        EXPECT_TRUE((query ? db.Query(rs, large) : db.Execute(large)).ok());
        EXPECT_NE(db.Rows("SELECT connection_id()"), id) << query;
    }
}

TEST_F(MariaDbTest, AResultOverItsBoundIsNotReadToTheEnd) {
    const std::string endless = "SELECT REPEAT('x', 1000) FROM seq_1_to_1000000000000";
    const PeakMemory memory;
    db.SetMaxResultBytes(1000000);
    QXRecordset rs;
    EXPECT_EQ(db.Query(rs, endless).code, DBMGR_RESULT_TOO_LARGE);
    EXPECT_EQ(db.Query(rs, {db.Command("DO 1"), db.Command(endless)}).code, DBMGR_RESULT_TOO_LARGE);
    if (QXDB_MEASURES_MEMORY != 0) {
        EXPECT_LT(memory.Growth(), std::size_t{32} << 20);
    }
    EXPECT_EQ(db.Rows("SELECT 1"), "1\n");
}

TEST_F(MariaDbTest, AnAutocommitLeftOffIsSetRight) {
    ASSERT_TRUE(db.Execute("CREATE TABLE m (i INT)").ok());
    EXPECT_EQ(db.Execute("SET autocommit = 0").code, DBMGR_OPEN_TRANSACTION);
    ASSERT_TRUE(db.Execute("INSERT INTO m VALUES (1)").ok());
    db.CloseConn();
    EXPECT_EQ(db.Rows("SELECT COUNT(*) FROM m"), "1\n");
}

TEST_F(MariaDbTest, OneConnectionServesAllDatabases) {
    ASSERT_TRUE(db.Execute("DROP DATABASE IF EXISTS other; CREATE DATABASE other").ok());
    Client other(db);
    other.DataSource().database = L"other";
    const std::string where = "SELECT DATABASE(), @kept";
    ASSERT_TRUE(db.Execute("SET @kept = 7").ok());
    EXPECT_EQ(other.Rows(where), "other|7\n");
    EXPECT_EQ(db.Rows(where), "testing|7\n");
    ASSERT_TRUE(db.Execute("USE other").ok());
    EXPECT_EQ(db.Rows(where), "testing|7\n") << "a USE leads nobody else astray";
    ASSERT_TRUE(db.Execute("DROP DATABASE other").ok());
    EXPECT_EQ(other.Execute("SELECT 1").code, 1049);
    other.DataSource().database = std::wstring(L"testing\0other", 13);
    EXPECT_EQ(other.Connect().code, DBMGR_BAD_DATA_SOURCE);
    EXPECT_EQ(db.Rows(where), "testing|7\n");
}

TEST_F(MariaDbTest, WhatCannotBeStoredOrReachedIsSaid) {
    EXPECT_EQ(
        db.Execute("SELECT ?", {QXValue::Double(std::numeric_limits<double>::infinity())}).code,
        DBMGR_BAD_VALUE);
    Client stranger(db);
    stranger.DataSource().password = L"wrong";
    const Outcome refused = stranger.Connect();
    EXPECT_EQ(refused.code, 1045);
    EXPECT_NE(refused.text.find(L"Access denied"), std::wstring::npos) << refused;
    Client odd(db);
    odd.DataSource().options = "compres=1";
    EXPECT_EQ(odd.Connect().code, DBMGR_BAD_OPTION);
}

TEST_F(MariaDbTest, AServerThatGoesAndComesBackIsMetAgain) {
    EXPECT_EQ(GoAndComeBack(db, MariaDb()).code, 2002);
    EXPECT_FALSE(db.Execute("KILL CONNECTION_ID()").ok());
    EXPECT_EQ(db.Rows("SELECT 4"), "4\n");
}

TEST_F(MariaDbTest, ASessionThatChangesHandsHasItsSettingsAgain) {
    db.DataSource().options += ";pool_size=1;statement_timeout=60000";
    db.SetSessionUser("ann");
    ASSERT_TRUE(db.Execute("CREATE TABLE m (i INT)").ok());
    ASSERT_TRUE(db.Execute("SET sql_mode = 'ANSI'; SET max_statement_time = 0; "
                           "SET NAMES latin1; USE information_schema")
                    .ok());
    ASSERT_TRUE(db.Execute("CREATE ROLE IF NOT EXISTS actor; SET profiling = 1; "
                           "SET optimizer_trace = 'enabled=on'")
                    .ok());
    ASSERT_TRUE(db.Execute("SET @secret = 'ann''s'; DO GET_LOCK('l', 1); PREPARE p FROM 'DO 1'; "
                           "SET ROLE actor; HANDLER testing.m OPEN; LOCK TABLES testing.m WRITE")
                    .ok());
    EXPECT_EQ(db.Rows("SELECT @secret, CURRENT_ROLE()"), "ann's|actor\n");
    db.SetSessionUser("bob");
    EXPECT_EQ(db.Rows("SHOW PROFILES"), "");
    EXPECT_EQ(db.Rows("SELECT COUNT(*) FROM information_schema.OPTIMIZER_TRACE"), "0\n");
    EXPECT_EQ(db.Rows("SELECT @secret, GET_LOCK('l', 60), CURRENT_ROLE(), @@profiling"),
              "NULL|1|NULL|0\n");
    EXPECT_EQ(db.Execute("EXECUTE p").code, 1243);
    EXPECT_EQ(db.Execute("HANDLER m READ FIRST").code, 1109);
    EXPECT_EQ(Client(MariaDbBackend()).Rows("SELECT COUNT(*) FROM m"), "0\n") << "still locked";
    EXPECT_EQ(db.Rows("SELECT @@sql_mode LIKE '%ANSI%', @@max_statement_time, DATABASE(), ?",
                      {QXValue::TextUtf8("漢字 \U0001F4DA")}),
              "0|60|" + MariaDbServer::Database() + "|漢字 \U0001F4DA\n");
    EXPECT_TRUE(db.Execute("DO 1; DO 2").ok());
}

}  // namespace
}  // namespace qxdb_test
