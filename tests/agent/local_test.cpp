#include <gtest/gtest.h>

#include <qxdb/DBAgent.h>
#include <qxdb/DBMgrErrors.h>

#include "tests/support/TempDir.h"

namespace {

using namespace CQXDB;

class LocalAgent : public testing::Test {
  protected:
    LocalAgent() {
        UseFile(agent_);
        Run(L"CREATE TABLE t (id INTEGER PRIMARY KEY, name TEXT)");
        Run(L"INSERT INTO t VALUES (1, 'a'), (2, 'b'), (3, 'c'), (4, 'd'), (5, 'e')");
    }

    void UseFile(DBAgent& agent) const {
        QXDataSource source;
        source.database = Path();
        agent.initDB(source);
    }
    std::wstring Path() const { return QXValue::TextUtf8(dir_.File("local.db")).ToText(); }

    void Run(const wchar_t* sql) {
        QXCommand command(sql);
        agent_.Execute(code_, text_, command);
        ASSERT_EQ(code_, 0) << QXValue::Text(text_).ToUtf8();
    }

    qxdb_test::TempDir dir_;
    DBAgent agent_;
    long code_ = 0;
    std::wstring text_;
};

TEST_F(LocalAgent, AFailureSetsTheArgumentsAndTheNextCallFillsItsPage) {
    agent_.errCode_ = 77;
    QXCommand bad(L"SELECT missing FROM nowhere");
    QXRecordset rows;
    agent_.OpenQuery(code_, text_, bad, rows);
    EXPECT_EQ(code_, 1);
    EXPECT_NE(text_.find(L"nowhere"), std::wstring::npos) << QXValue::Text(text_).ToUtf8();
    EXPECT_EQ(agent_.errCode_, 77);
    QXCommand good(L"SELECT id FROM t WHERE id >= ? ORDER BY id");
    good.AddParam(QXValue::Int64(2));
    agent_.OpenQuery(code_, text_, good, rows, 2, 2);
    EXPECT_EQ(code_, 0);
    EXPECT_EQ(text_, L"");
    EXPECT_EQ(rows.pageSize(), 2);
    EXPECT_EQ(rows.currentPage(), 2);
    ASSERT_EQ(rows.RowCount(), 2U);
    EXPECT_EQ(rows.GetInt64(0, 0), 4);
    EXPECT_EQ(rows.GetInt64(1, 0), 5);
}

TEST_F(LocalAgent, AFailedQueryLeavesNoRowsOfAnother) {
    QXCommand good(L"SELECT id FROM t");
    QXCommand bad(L"SELECT missing FROM nowhere");
    QXCommandList list;
    list.Add(good);
    list.Add(bad);
    QXRecordset rows;
    for (const bool several : {false, true}) {
        agent_.OpenQuery(code_, text_, good, rows);
        ASSERT_EQ(rows.RowCount(), 5U);
        if (several) {
            agent_.OpenQuery(code_, text_, list, rows);
        } else {
            agent_.OpenQuery(code_, text_, bad, rows);
        }
        EXPECT_EQ(code_, 1);
        EXPECT_EQ(rows.RowCount(), 0U);
        EXPECT_EQ(rows.ColumnCount(), 0U);
    }
}

TEST_F(LocalAgent, ABatchEmptiesItsListEvenWhenItFails) {
    QXRsList results;
    QXCommandList list;
    list.Add(QXCommand(L"SELECT 1"));
    list.Add(QXCommand(L"SELECT name FROM t"));
    agent_.BatchQry(code_, text_, list, results);
    ASSERT_EQ(code_, 0);
    ASSERT_EQ(results.Count(), 2U);
    EXPECT_EQ(results.At(1).RowCount(), 5U);
    list.Add(QXCommand(L"SELEC"));
    agent_.BatchQry(code_, text_, list, results);
    EXPECT_NE(code_, 0);
    EXPECT_TRUE(results.Empty());
}

TEST_F(LocalAgent, ADatabaseNamedInTheCallIsForThatCallOnly) {
    const std::wstring other = Path() + L".other";
    QXCommand create(L"CREATE TABLE only_there (x)");
    agent_.Execute(code_, text_, create, other);
    ASSERT_EQ(code_, 0);
    EXPECT_EQ(agent_.DefaultDB(), Path());
    QXCommand query(L"SELECT * FROM only_there");
    QXRecordset rows;
    agent_.OpenQuery(code_, text_, query, rows);
    EXPECT_EQ(code_, 1);
    agent_.OpenQuery(code_, text_, query, rows, 0, 1, other);
    EXPECT_EQ(code_, 0);
}

TEST_F(LocalAgent, OptionsReachTheDatabaseAsTheTextTheyWere) {
    QXCommand query(L"SELECT 1");
    agent_.initDB(CQXDB_DS_EMBEDDED, L"", 0, Path(), L"", L"", L"mode=gr\u00FC\u00DFe", false);
    agent_.Execute(code_, text_, query);
    EXPECT_EQ(code_, DBMGR_BAD_OPTION);
    EXPECT_NE(text_.find(L"\"gr\u00FC\u00DFe\""), std::wstring::npos)
        << QXValue::Text(text_).ToUtf8();
    QXDataSource source;
    source.database = Path();
    source.options = QXValue::Text(L"mode=gr\u00FC\u4E2D").ToUtf8();
    agent_.initDB(source);
    agent_.Execute(code_, text_, query);
    EXPECT_NE(text_.find(L"\"gr\u00FC\u4E2D\""), std::wstring::npos)
        << QXValue::Text(text_).ToUtf8();
}

// A data source whose type or driver is not 0 goes to the other manager, which reads the same file.
TEST_F(LocalAgent, TypeAndDriverChooseTheManagerAnewOnEachCall) {
    QXCommand query(L"SELECT name FROM t ORDER BY id");
    for (const auto type : {CQXDB_DS_SQLITE, CQXDB_DS_EMBEDDED}) {
        for (const auto driver : {CQXDB_DRIVER_SQLITE, CQXDB_DRIVER_DEFAULT}) {
            EXPECT_TRUE(agent_.CanConnect(type, L"", 0, Path(), L"", L"", false, driver, L"", L"",
                                          L"", L""));
            QXRecordset rows;
            agent_.OpenQuery(code_, text_, query, rows);
            ASSERT_EQ(code_, 0);
            EXPECT_EQ(rows.GetText(4, 0), L"e");
        }
    }
    agent_.CloseConn();
}

TEST_F(LocalAgent, AFailedConnectionTestTellsWhyAndKeepsTheDescription) {
    EXPECT_FALSE(agent_.CanConnect(CQXDB_DS_EMBEDDED, L"", 0, L"/no/such/folder/x.db", L"", L"",
                                   false, CQXDB_DRIVER_DEFAULT, L"", L"", L"", L""));
    EXPECT_NE(agent_.errCode_, 0);
    EXPECT_NE(agent_.errText_, L"");
    EXPECT_EQ(agent_.DefaultDB(), L"/no/such/folder/x.db");
    EXPECT_TRUE(agent_.CanConnect(CQXDB_DS_EMBEDDED, L"", 0, Path(), L"", L"", false,
                                  CQXDB_DRIVER_DEFAULT, L"", L"", L"", L""));
    EXPECT_EQ(agent_.errCode_, 0);
    EXPECT_EQ(agent_.errText_, L"");
}

// A port or a page of 33 bits would be another one if it was cut.
TEST_F(LocalAgent, NumbersThatFitNowhereAreRefused) {
    for (const auto type : {CQXDB_DS_POSTGRESQL, CQXDB_DS_MYSQL, CQXDB_DS_SQLSERVER}) {
        for (const long long port : {65536LL + 1, -1LL, (1LL << 32) + 1}) {
            if (static_cast<long>(port) != port) {
                continue;  // where long has 32 bits
            }
            EXPECT_FALSE(agent_.CanConnect(type, L"127.0.0.1", static_cast<long>(port), L"", L"",
                                           L"", false, CQXDB_DRIVER_DEFAULT, L"", L"", L"", L""));
            EXPECT_EQ(agent_.errCode_, DBMGR_BAD_DATA_SOURCE) << type << ' ' << port;
        }
    }
    if (sizeof(long) > 4) {
        UseFile(agent_);
        const auto beyond = static_cast<long>((1LL << 32) + 1);
        QXCommand query(L"SELECT id FROM t");
        QXCommandList list;
        list.Add(query);
        QXRecordset rows;
        agent_.OpenQuery(code_, text_, query, rows);
        ASSERT_EQ(rows.RowCount(), 5U);
        agent_.OpenQuery(code_, text_, query, rows, beyond, 1);
        EXPECT_EQ(code_, DBMGR_BAD_PAGE);
        EXPECT_NE(text_.find(L"4294967297"), std::wstring::npos);
        EXPECT_EQ(rows.RowCount(), 0U);
        agent_.OpenQuery(code_, text_, list, rows, 1, beyond);
        EXPECT_EQ(code_, DBMGR_BAD_PAGE);
    }
}

}  // namespace
