// A query gives the rows of its page, in order, and no others.
#include <string>
#include <utility>
#include <vector>

#include <qxdb/DBMgrErrors.h>

#include "tests/adapter/contract.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

class PageContract : public Contract {
  protected:
    void SetUp() override {
        Contract::SetUp();
        Table("i INTEGER, name VARCHAR(20)");
        std::vector<QXCommand> inserts(25, db.Command("INSERT INTO t (i, name) VALUES (?, ?)"));
        for (std::size_t i = 0; i < inserts.size(); ++i) {
            inserts[i].AddParam(QXValue::Int64(static_cast<std::int64_t>(i)));
            inserts[i].AddParam(QXValue::TextUtf8("row " + std::to_string(i)));
        }
        ASSERT_TRUE(db.Execute(std::move(inserts)).ok());
    }

    Outcome Page(QXRecordset& rs, long size, long number, const std::string& text,
                 std::vector<QXValue> parameters = {}) {
        rs.setPageSize(size);
        rs.setCurrentPage(number);
        return db.Query(rs, text, std::move(parameters));
    }
    std::string FirstColumn(long size, long number, const std::string& text,
                            std::vector<QXValue> parameters = {}) {
        QXRecordset rs;
        const Outcome outcome = Page(rs, size, number, text, std::move(parameters));
        EXPECT_TRUE(outcome.ok()) << outcome;
        std::string found;
        for (std::size_t row = 0; row < rs.RowCount(); ++row) {
            found += rs.GetTextUtf8(row, 0) + " ";
        }
        return found;
    }
};

TEST_P(PageContract, PagesFollowEachOther) {
    const std::string text = "SELECT i, name FROM t ORDER BY i DESC";
    EXPECT_EQ(FirstColumn(10, 1, text), "24 23 22 21 20 19 18 17 16 15 ");
    EXPECT_EQ(FirstColumn(10, 3, text), "4 3 2 1 0 ");
    EXPECT_EQ(FirstColumn(10, 4, text), "");
    EXPECT_EQ(FirstColumn(25, 1, text).size(), FirstColumn(0, 1, text).size());
    EXPECT_EQ(FirstColumn(0, 7, "SELECT i FROM t WHERE i < 3 ORDER BY i"), "0 1 2 ");
    const std::string all = "SELECT COUNT(*) FROM (SELECT i FROM t) x";
    QXRecordset rs;
    EXPECT_TRUE(Page(rs, 2, 1, text).ok());
    EXPECT_EQ(db.Rows(all), "25\n") << "the page's limit ends with its query";
    EXPECT_FALSE(Page(rs, 2, 1, "SELECT nothing FROM t").ok());
    EXPECT_EQ(db.Rows(all), "25\n") << "and with one that failed";
}

TEST_P(PageContract, PagesWorkWithParametersLimitsAndTrailingText) {
    EXPECT_EQ(FirstColumn(3, 2, "SELECT i FROM t WHERE i >= ? AND name <> ? ORDER BY i; -- end",
                          {QXValue::Int64(10), QXValue::TextUtf8("row 11")}),
              "14 15 16 ");
    EXPECT_EQ(
        FirstColumn(4, 2, "SELECT a.i, a.i FROM t a JOIN t b ON a.i = b.i ORDER BY a.name LIMIT 6"),
        "12 13 ");
    EXPECT_EQ(FirstColumn(
                  2, 2, "WITH few AS (SELECT i FROM t WHERE i > 20) SELECT i FROM few ORDER BY i"),
              "23 24 ");
}

TEST_P(PageContract, PagesInsideAListAndAfterIt) {
    QXRecordset rs;
    rs.setPageSize(2);
    rs.setCurrentPage(2);
    ASSERT_TRUE(db.Query(rs, {db.Command("INSERT INTO t (i) VALUES (100)"),
                              db.Command("SELECT i FROM t WHERE i > 21 ORDER BY i")})
                    .ok());
    EXPECT_EQ(TextOf(rs), "24\n100\n");
    EXPECT_EQ(FirstColumn(1, 1, "SELECT COUNT(*) FROM t"), "26 ");
}

TEST_P(PageContract, BadPagesAreRefused) {
    QXRecordset rs;
    EXPECT_EQ(Page(rs, 10, 0, "SELECT i FROM t").code, DBMGR_BAD_PAGE);
    EXPECT_EQ(Page(rs, 10, -1, "SELECT i FROM t").code, DBMGR_BAD_PAGE);
    EXPECT_EQ(Page(rs, -5, 1, "SELECT i FROM t").code, DBMGR_BAD_PAGE);
    const std::int64_t beyond = (std::int64_t{1} << 32) + 1;  // cut to 32 bits, page 1
    if (sizeof(long) == sizeof beyond) {
        const auto page = static_cast<long>(beyond);
        EXPECT_EQ(Page(rs, 10, page, "SELECT i FROM t").code, DBMGR_BAD_PAGE);
    }
    EXPECT_TRUE(Page(rs, 10, 2147483647, "SELECT i FROM t").ok());
    EXPECT_EQ(rs.RowCount(), 0U);
}

TEST_P(PageContract, APageOfANonQueryStillRunsItWhole) {
    QXRecordset rs;
    ASSERT_TRUE(Page(rs, 5, 1, "INSERT INTO t (i) SELECT i + 100 FROM t").ok());
    EXPECT_EQ(rs.ColumnCount(), 0U);
    EXPECT_EQ(db.Rows("SELECT COUNT(*) FROM t"), "50\n");
}

TEST_P(PageContract, RowsBeyondTheMemoryBoundUndoTheCall) {
    const std::vector<QXCommand> batch = {db.Command("DELETE FROM t WHERE i = 0"),
                                          db.Command("SELECT i, name FROM t"),
                                          db.Command("SELECT i, name FROM t")};
    QXRsList results;
    ASSERT_TRUE(db.Batch(results, {batch[1]}).ok());
    const std::size_t one = results.At(0).MemoryBytes();
    db.SetMaxResultBytes(3 * one / 2);
    QXRecordset rs;
    EXPECT_TRUE(db.Query(rs, "SELECT i FROM t").ok());
    EXPECT_EQ(db.Batch(results, batch).code, DBMGR_RESULT_TOO_LARGE);
    EXPECT_TRUE(results.Empty());
    db.SetMaxResultBytes(one / 4);
    EXPECT_EQ(db.Query(rs, "SELECT i, name FROM t").code, DBMGR_RESULT_TOO_LARGE);
    EXPECT_EQ(rs.RowCount(), 0U);
    db.SetMaxResultBytes(0);
    EXPECT_EQ(db.Rows("SELECT COUNT(*) FROM t"), "25\n");
}

class StoppingContract : public PageContract {};

TEST_P(StoppingContract, AnErrorBehindThePageIsNotReached) {
    QXRecordset rs;
    const std::string text = "SELECT " + backend.rowError + " FROM t WHERE i < 20";
    EXPECT_FALSE(Page(rs, 0, 1, text).ok());
    const Outcome outcome = Page(rs, 5, 2, text);
    EXPECT_TRUE(outcome.ok()) << outcome;
    EXPECT_EQ(rs.RowCount(), 5U);
}

INSTANTIATE_TEST_SUITE_P(On, StoppingContract, testing::ValuesIn(StoppingBackends()), BackendName);
INSTANTIATE_TEST_SUITE_P(On, PageContract, testing::ValuesIn(Backends()), BackendName);

}  // namespace
}  // namespace qxdb_test
