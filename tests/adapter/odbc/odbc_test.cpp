// What is particular to ODBC.
#include <string>

#include <gtest/gtest.h>

#include <qxdb/DBMgrErrors.h>

#include "tests/adapter/contract.h"
#include "tests/adapter/servers.h"
#include "tests/support/PeakMemory.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

class OdbcTest : public testing::Test {
  protected:
    Client db{OdbcBackend()};
};

TEST_F(OdbcTest, AWholeConnectionStringIsTakenAsItIs) {
    const QXDataSource& built = db.DataSource();
    QXDataSource whole;
    whole.type = CQXDB_DS_ODBC;
    whole.connectionString = L"Driver=" + built.driverName + L";Server=127.0.0.1;Port=" +
                             std::to_wstring(built.port) + L";Database=" + built.database +
                             L";UID=" + built.user + L";PWD={" + built.password + L"}";
    Client client(whole, true);
    EXPECT_EQ(client.Rows("SELECT 'through ' || ?", {QXValue::TextUtf8("ODBC")}), "through ODBC\n");
}

TEST_F(OdbcTest, DescriptionsThatLeadNowhereSayWhy) {
    QXDataSource source;
    source.type = CQXDB_DS_ODBC;
    EXPECT_EQ(Client(source, true).Connect().code, DBMGR_BAD_DATA_SOURCE);
    source.dsn = L"no such name";
    const Outcome unknown = Client(source, true).Connect();
    EXPECT_EQ(unknown.code, SqlStateCode("IM002")) << unknown;
    Client stranger(db);
    stranger.DataSource().password = L"wrong";
    EXPECT_NE(stranger.Connect().text.find(L"password authentication failed"), std::wstring::npos);
    EXPECT_EQ(db.Execute("SELECT '{}'::jsonb ?? 'a'").code, DBMGR_BAD_VALUE);
}

TEST_F(OdbcTest, AResultIsNotReadWholeBeforeItsBoundIsMet) {
    ASSERT_TRUE(db.Execute("DROP TABLE IF EXISTS seen; CREATE TABLE seen (i int); "
                           "CREATE OR REPLACE FUNCTION see(i int) RETURNS int LANGUAGE sql AS "
                           "$f$ INSERT INTO seen VALUES ($1) RETURNING i; $f$")
                    .ok());
    QXRecordset rs;
    rs.setPageSize(3);
    EXPECT_TRUE(db.Query(rs, "SELECT see(i) FROM generate_series(1, 2) i").ok());
    EXPECT_TRUE(db.Query(rs, "SELECT i FROM generate_series(1, 100000) i").ok());
    EXPECT_EQ(db.Rows("SELECT see(3)"), "3\n");
    Client native(PostgreSqlBackend());
    EXPECT_EQ(native.Rows("SELECT count(*) FROM seen"), "3\n") << "what a query did stays done";
    const PeakMemory memory;
    db.SetMaxResultBytes(1000000);
    rs.setPageSize(0);
    EXPECT_EQ(db.Query(rs, "SELECT repeat('x', 1000) FROM generate_series(1, 500000)").code,
              DBMGR_RESULT_TOO_LARGE);
    if (QXDB_MEASURES_MEMORY != 0) {
        EXPECT_LT(memory.Growth(), std::size_t{32} << 20);
    }
    EXPECT_EQ(native.Rows("SELECT count(*) FROM pg_stat_activity WHERE state LIKE 'idle in%'"),
              "0\n");
}

TEST_F(OdbcTest, AServerThatGoesAndComesBackIsMetAgain) {
    EXPECT_FALSE(GoAndComeBack(db, Postgres()).ok());
}

}  // namespace
}  // namespace qxdb_test
