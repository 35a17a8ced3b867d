// What the adapter reads out of statement texts.
#include "adapter/statement_text.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace CQXDB::adapter {
namespace {

struct Rewriting {
    const SqlDialect* dialect;
    const char* text;
    const char* sql;
    std::size_t parameters;
};

TEST(StatementText, ParametersAreFoundOnlyWhereTheyStand) {
    const Rewriting cases[] = {
        {&kPostgreSqlDialect, "a=? AND b=?", "a=$1 AND b=$2", 2},
        {&kPostgreSqlDialect, "j ?? 'k' AND a=?", "j ? 'k' AND a=$1", 1},
        {&kPostgreSqlDialect, "E'\\'?' ?", "E'\\'?' $1", 1},
        {&kPostgreSqlDialect, "'\\' ? 'x'", "'\\' $1 'x'", 1},
        {&kPostgreSqlDialect, "$$ ? $$ $t$ ? $$ ? $t$ ?", "$$ ? $$ $t$ ? $$ ? $t$ $1", 1},
        {&kPostgreSqlDialect, "/* ? /* ? */ ? */ ? -- ?", "/* ? /* ? */ ? */ $1 -- ?", 1},
        {&kMySqlDialect, "'\\'?' \"\\\"?\" `a?` # ?\n?", "'\\'?' \"\\\"?\" `a?` # ?\n?", 1},
        {&kMySqlDialect, "5--? -- ?", "5--? -- ?", 1},
        {&kMySqlDialect, "/*!40101 ? */ /*M! ? */ /* ? */", "/*!40101 ? */ /*M! ? */ /* ? */", 2},
        {&kMySqlPlainDialect, "'\\' ? 'x'", "'\\' ? 'x'", 1},
        {&kSqliteDialect, "[a?] `b?` ? '?", "[a?] `b?` ? '?", 1},
        {&kSqliteDialect, "/* ? /* ? */ ? ", "/* ? /* ? */ ? ", 1},
    };
    for (const Rewriting& one : cases) {
        const bool numbered = one.dialect == &kPostgreSqlDialect;
        const NativeText native =
            ToNative(one.text, *one.dialect,
                     numbered ? ParameterStyle::DollarNumber : ParameterStyle::QuestionMark);
        EXPECT_EQ(native.sql, one.sql);
        EXPECT_EQ(native.parameters, one.parameters) << one.text;
    }
}

using Pieces = std::vector<std::string_view>;

TEST(StatementText, ScriptsFallApartAtTheirSemicolons) {
    EXPECT_EQ(SplitStatements(" a;; /* x; */ 'b;' ; -- c;", kSqliteDialect), (Pieces{"a", "'b;'"}));
    const std::string trigger =
        "CREATE TEMP TRIGGER t AFTER INSERT ON a BEGIN "
        "SELECT CASE WHEN 1 THEN 2 END; UPDATE b SET c = 1; END";
    EXPECT_EQ(SplitStatements(trigger + "; SELECT 1", kSqliteDialect),
              (Pieces{trigger, "SELECT 1"}));
    const std::string procedure =
        "CREATE PROCEDURE p() BEGIN IF 1 THEN BEGIN SELECT 1; END; END IF; END; CALL p()";
    EXPECT_EQ(SplitStatements(procedure, kMySqlDialect), Pieces{procedure});
    const std::string block = "BEGIN NOT ATOMIC SELECT 1; SELECT 2; END";
    EXPECT_EQ(SplitStatements(block, kMySqlDialect), Pieces{block});
    EXPECT_EQ(SplitStatements("/*!40101 SET a */; /* b; */; /*M! SET c */", kMySqlDialect),
              (Pieces{"/*!40101 SET a */", "/*M! SET c */"}));
    EXPECT_EQ(SplitStatements("DO $x$ BEGIN a; END $x$; b", kPostgreSqlDialect),
              (Pieces{"DO $x$ BEGIN a; END $x$", "b"}));
}

TEST(StatementText, TransactionControlIsToldFromBlocksAndSavepoints) {
    for (const char* text : {"begin", "BEGIN IMMEDIATE", "/**/ Start Transaction",
                             "COMMIT AND CHAIN", "ROLLBACK", "ROLLBACK WORK", "END"}) {
        EXPECT_TRUE(ControlsTransaction(text, kSqliteDialect)) << text;
    }
    for (const char* text : {"ROLLBACK TO a", "ROLLBACK TRANSACTION TO SAVEPOINT a", "SAVEPOINT a",
                             "RELEASE a", "BEGIN SELECT 1", "START SLAVE", "SELECT 'COMMIT'", ""}) {
        EXPECT_FALSE(ControlsTransaction(text, kSqliteDialect)) << text;
    }
    EXPECT_FALSE(ControlsTransaction("END", kOdbcDialect));
    EXPECT_TRUE(HoldsTransactionControl({"INSERT INTO a VALUES (1)", "COMMIT"}, kMySqlDialect));
}

TEST(StatementText, OnlyPlainQueriesLookReadOnly) {
    for (const char* text :
         {"SELECT 'DELETE'", "WITH a AS (SELECT 1) SELECT * FROM a", "VALUES (1)"}) {
        EXPECT_TRUE(LooksReadOnly(text, kPostgreSqlDialect)) << text;
    }
    for (const char* text :
         {"SELECT 1 INTO t", "WITH a AS (DELETE FROM t RETURNING *) SELECT * FROM a",
          "SELECT 1 FOR UPDATE", "INSERT INTO t VALUES (1)", "SHOW ALL", "(SELECT 1)"}) {
        EXPECT_FALSE(LooksReadOnly(text, kPostgreSqlDialect)) << text;
    }
}

TEST(StatementText, TextsThatEndTooEarlyAreReadToTheirEnd) {
    for (const char* text : {"'", "\"a", "E'\\", "$a$ b", "/* c", "--", "?", "[", "`", "$", "$a"}) {
        for (const SqlDialect* dialect : {&kSqliteDialect, &kPostgreSqlDialect, &kMySqlDialect}) {
            EXPECT_EQ(ToNative(text, *dialect, ParameterStyle::QuestionMark).sql, text);
        }
    }
}

}  // namespace
}  // namespace CQXDB::adapter
