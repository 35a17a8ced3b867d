#include "cli/script/statement_splitter.h"

#include <gmock/gmock.h>

namespace CQXCLI {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<script::Statement> Split(const std::string& dialect, const std::string& script,
                                     std::size_t pieceBytes) {
    script::StatementSplitter splitter(*FindDialect(dialect));
    std::vector<script::Statement> statements;
    for (std::size_t at = 0; at <= script.size(); at += pieceBytes) {
        splitter.Feed(std::string_view(script).substr(at, pieceBytes));
        if (at + pieceBytes > script.size()) {
            splitter.Finish();
        }
        for (script::Statement statement; splitter.Next(statement);) {
            statements.push_back(statement);
        }
    }
    return statements;
}

/// The statements' texts, which must not depend on the pieces in which the script arrives.
std::vector<std::string> Texts(const std::string& dialect, const std::string& script) {
    std::vector<std::string> texts;
    for (const script::Statement& statement : Split(dialect, script, 100000)) {
        texts.push_back(statement.text);
    }
    for (const std::size_t pieceBytes : {1U, 2U, 3U, 7U}) {
        std::vector<std::string> pieced;
        for (const script::Statement& statement : Split(dialect, script, pieceBytes)) {
            pieced.push_back(statement.text);
        }
        EXPECT_EQ(pieced, texts) << "in pieces of " << pieceBytes << " bytes";
    }
    return texts;
}

TEST(StatementSplitter, CutsAtSemicolonsOutsideQuotesAndComments) {
    EXPECT_THAT(Texts("sqlite", "SELECT ';', \";\", `;`, [;] ;; SELECT 2"),
                ElementsAre("SELECT ';', \";\", `;`, [;]", "SELECT 2"));
    EXPECT_THAT(Texts("sqlite", "SELECT 'it''s;' -- ; not here\n, 2 /* ; */;SELECT 5-3;"),
                ElementsAre("SELECT 'it''s;' -- ; not here\n, 2", "SELECT 5-3"));
    EXPECT_THAT(Texts("sqlite", " \n-- nothing\n/* at; all */ ; \n"), IsEmpty());
    EXPECT_THAT(Texts("sqlite", "SELECT [a;b], '\\'; SELECT 1 -- the end"),
                ElementsAre("SELECT [a;b], '\\'", "SELECT 1"));
    EXPECT_THAT(Texts("sqlite", "/* a */ SELECT /* b */ 1 /* c */;"),
                ElementsAre("SELECT /* b */ 1"));
}

TEST(StatementSplitter, KnowsPostgreSqlQuotes) {
    EXPECT_THAT(Texts("postgresql", "SELECT $$a;b$$, $t$;$$;$t$, E'\\';', a[1], $1;SELECT U&'d'"),
                ElementsAre("SELECT $$a;b$$, $t$;$$;$t$, E'\\';', a[1], $1", "SELECT U&'d'"));
    EXPECT_THAT(Texts("postgresql", "SELECT 'a\\'; /* /* ; */ ; */ SELECT a$b$c;SELECT 3"),
                ElementsAre("SELECT 'a\\'", "SELECT a$b$c", "SELECT 3"));
    EXPECT_THAT(Texts("postgresql", "SELECT E'a''b\\'c;'; SELECT 2"),
                ElementsAre("SELECT E'a''b\\'c;'", "SELECT 2"));
}

TEST(StatementSplitter, KnowsMySqlQuotesAndDelimiters) {
    EXPECT_THAT(Texts("mysql", "SELECT 'a\\';', \"\\\";\" # ; \n, 5--3;SELECT 2 -- ;\n;"),
                ElementsAre("SELECT 'a\\';', \"\\\";\" # ; \n, 5--3", "SELECT 2"));
    EXPECT_THAT(Texts("mysql", "/*!40101 SET NAMES utf8 */;/* no */;SELECT `;`"),
                ElementsAre("/*!40101 SET NAMES utf8 */", "SELECT `;`"));
    EXPECT_THAT(Texts("mysql",
                      "delimiter $$\nCREATE TRIGGER t BEGIN SELECT 1; END$$\nDELIMITER ;;\n"
                      "SELECT ';;', 2;;\nDELIMITER ;\nSELECT 3;"),
                ElementsAre("CREATE TRIGGER t BEGIN SELECT 1; END", "SELECT ';;', 2", "SELECT 3"));
}

TEST(StatementSplitter, KeepsBodiesOfTriggersAndRoutinesTogether) {
    const std::string trigger =
        "CREATE TEMP TRIGGER t AFTER INSERT ON a BEGIN UPDATE b SET x = CASE WHEN 1 THEN 2 END; "
        "SELECT end; END";
    EXPECT_THAT(Texts("sqlite", trigger + " ; SELECT 1;"), ElementsAre(trigger, "SELECT 1"));
    EXPECT_THAT(Texts("sqlite", "CREATE TABLE trigger(a); SELECT 1;"),
                ElementsAre("CREATE TABLE trigger(a)", "SELECT 1"));
    const std::string function =
        "CREATE OR REPLACE FUNCTION f() RETURNS int BEGIN ATOMIC SELECT CASE WHEN true THEN 1 END; "
        "SELECT 2; END";
    const std::string rule = "CREATE RULE r AS ON INSERT TO a DO (SELECT 1; SELECT 2)";
    EXPECT_THAT(Texts("postgresql", function + ";" + rule + ";SELECT 1;"),
                ElementsAre(function, rule, "SELECT 1"));
}

TEST(StatementSplitter, KnowsLinesThatEndAStatement) {
    EXPECT_THAT(
        Texts("sqlserver", "CREATE PROC p AS SELECT 1; SELECT 'GO\nGO'\n go \nSELECT [;]\nGO"),
        ElementsAre("CREATE PROC p AS SELECT 1; SELECT 'GO\nGO'", "SELECT [;]"));
    EXPECT_THAT(
        Texts("oracle", "BEGIN a; b; END;\n/\n/\nSELECT 4 / 2 FROM dual;\nDECLARE x; y;\n/"),
        ElementsAre("BEGIN a; b; END;", "SELECT 4 / 2 FROM dual", "DECLARE x; y;"));
}

TEST(StatementSplitter, TellsLinesCommandsAndUnfinishedTexts) {
    const auto found =
        Split("postgresql", "\\c chinook;\n\n-- x\nSELECT\n'a\n;';\r\n  SELECT 'b;\n", 5);
    ASSERT_EQ(found.size(), 3U);
    EXPECT_TRUE(found[0].command);
    EXPECT_EQ(found[0].text, "\\c chinook");
    EXPECT_EQ(found[1].line, 4U);
    EXPECT_FALSE(found[1].command || found[1].unfinished);
    EXPECT_EQ(found[2].line, 7U);
    EXPECT_TRUE(found[2].unfinished);
    EXPECT_TRUE(Split("sqlite", "SELECT 1; /* never closed", 4).back().unfinished);
}

TEST(StatementSplitter, TellsWhatAPromptNeeds) {
    script::StatementSplitter splitter(*FindDialect("sqlite"));
    script::Statement statement;
    splitter.Feed("SELECT\n");
    EXPECT_FALSE(splitter.Next(statement));
    EXPECT_TRUE(splitter.Pending());
    EXPECT_EQ(splitter.Inside(), '\0');
    splitter.Feed("'a;\n");
    EXPECT_FALSE(splitter.Next(statement));
    EXPECT_EQ(splitter.Inside(), '\'');
    splitter.Clear();
    EXPECT_FALSE(splitter.Pending());
    splitter.Feed("/*\n");
    EXPECT_FALSE(splitter.Next(statement));
    EXPECT_EQ(splitter.Inside(), '*');
    splitter.Feed("*/ SELECT 2;\n");
    ASSERT_TRUE(splitter.Next(statement));
    EXPECT_EQ(statement.text, "SELECT 2");
    EXPECT_EQ(statement.line, 4U);
}

TEST(StatementSplitter, TakesTimeInProportionToTheScript) {
    const std::string text = "SELECT '" + std::string(8 * 1024 * 1024, ';') + "'";
    script::StatementSplitter splitter(*FindDialect("mysql"));
    script::Statement statement;
    for (std::size_t at = 0; at < text.size(); at += 4096) {
        splitter.Feed(std::string_view(text).substr(at, 4096));
        EXPECT_FALSE(splitter.Next(statement));
    }
    splitter.Feed(";");
    ASSERT_TRUE(splitter.Next(statement));
    EXPECT_EQ(statement.text, text);
}

}  // namespace
}  // namespace CQXCLI
