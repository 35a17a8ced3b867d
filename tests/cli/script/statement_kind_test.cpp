#include "cli/script/statement_kind.h"

#include <gtest/gtest.h>

namespace CQXCLI {
namespace {

script::StatementKind KindOf(const std::string& dialect, const std::string& sql) {
    return script::Classify(*FindDialect(dialect), sql).kind;
}

TEST(Classify, FindsTheStartAndEndOfTransactions) {
    for (const char* sql : {"BEGIN", "begin /* x */ immediate transaction", "START TRANSACTION",
                            "BEGIN WORK", "BEGIN READ ONLY"}) {
        EXPECT_EQ(KindOf("sqlite", sql), script::StatementKind::Begin) << sql;
    }
    EXPECT_EQ(KindOf("oracle", "BEGIN"), script::StatementKind::Other);
    EXPECT_EQ(KindOf("sqlserver", "BEGIN TRY SELECT 1"), script::StatementKind::Other);
    EXPECT_EQ(KindOf("mysql", "COMMIT WORK"), script::StatementKind::Commit);
    EXPECT_EQ(KindOf("postgresql", "END"), script::StatementKind::Commit);
    EXPECT_EQ(KindOf("mysql", "END"), script::StatementKind::Other);
    EXPECT_EQ(KindOf("mysql", "ROLLBACK"), script::StatementKind::Rollback);
    EXPECT_EQ(KindOf("mysql", "ROLLBACK TO SAVEPOINT a"), script::StatementKind::Other);
    EXPECT_EQ(KindOf("mysql", "COMMIT AND CHAIN"), script::StatementKind::Other);
}

TEST(Classify, KeepsWhatFollows) {
    const Dialect& postgresql = *FindDialect("postgresql");
    EXPECT_EQ(script::Classify(postgresql, "BEGIN ISOLATION LEVEL serializable").detail,
              "ISOLATION LEVEL SERIALIZABLE");
    EXPECT_EQ(script::Classify(*FindDialect("mysql"), "USE `my db`").detail, "my db");
    EXPECT_EQ(script::Classify(*FindDialect("sqlserver"), "use [x]").detail, "x");
    EXPECT_EQ(script::Classify(postgresql, "USE a").detail, "a");
    EXPECT_EQ(KindOf("mysql", "USE a b"), script::StatementKind::Other);
    EXPECT_EQ(KindOf("postgresql", "COPY t (a, b) FROM stdin WITH (FORMAT csv)"),
              script::StatementKind::CopyInput);
    EXPECT_EQ(KindOf("postgresql", "COPY t FROM '/tmp/stdin'"), script::StatementKind::Other);
}

TEST(OnlyReads, RefusesWhatCouldChangeData) {
    const Dialect& dialect = *FindDialect("postgresql");
    for (const char* sql : {"SELECT 'INSERT' AS \"update\" -- DELETE", "(SELECT 1) UNION SELECT 2",
                            "WITH a AS (SELECT 1) SELECT * FROM a", "VALUES (1), (2)"}) {
        EXPECT_TRUE(script::OnlyReads(dialect, sql)) << sql;
    }
    for (const char* sql : {"INSERT INTO t VALUES (1) RETURNING id", "SELECT 1 INTO t", "CALL f()",
                            "WITH a AS (DELETE FROM t RETURNING *) SELECT * FROM a", ""}) {
        EXPECT_FALSE(script::OnlyReads(dialect, sql)) << sql;
    }
}

TEST(QuoteTable, QuotesEachPart) {
    EXPECT_EQ(QuoteTable(*FindDialect("postgresql"), "my schema.od\"d"),
              "\"my schema\".\"od\"\"d\"");
    EXPECT_EQ(QuoteTable(*FindDialect("mysql"), "a`b"), "`a``b`");
    EXPECT_EQ(QuoteTable(*FindDialect("sqlserver"), "dbo.a]b"), "[dbo].[a]]b]");
    EXPECT_EQ(QuoteTable(*FindDialect("sqlite"), "\"with.dot\""), "\"with.dot\"");
}

}  // namespace
}  // namespace CQXCLI
