// Cuts a statement text into the few kinds of token that matter to the adapter. Strings, quoted
// identifiers and comments are passed over, so that what stands in them is never taken for
// anything.
#pragma once

#include <cstddef>
#include <string_view>

#include "util/sql_scanner.h"

namespace CQXDB::adapter {

struct SqlDialect {
    CQXBASE::SqlSyntax syntax;
    bool endCommits = false;    ///< END as a statement is another word for COMMIT
    bool nestedBodies = false;  ///< bodies of CREATE PROCEDURE and the like hold blocks in blocks
};

inline constexpr SqlDialect kSqliteDialect{CQXBASE::SqliteSyntax(), true, false};
inline constexpr SqlDialect kPostgreSqlDialect{CQXBASE::PostgreSqlSyntax(), true, false};
inline constexpr SqlDialect kMySqlDialect{CQXBASE::MySqlSyntax(), false, true};
inline constexpr SqlDialect kMySqlPlainDialect{CQXBASE::MySqlSyntax(false), false, true};
inline constexpr SqlDialect kSqlServerDialect{CQXBASE::SqlServerSyntax(), false, true};
inline constexpr SqlDialect kOdbcDialect{{}, false, true};  ///< any other database

enum class SqlToken {
    End,
    Word,          ///< letters, digits, "_" and "$", not starting with a digit
    Parameter,     ///< "?"
    QuestionMark,  ///< "??"
    Semicolon,
    Quoted,  ///< a string or a quoted identifier
    Other,   ///< any other character or number
};

class SqlLexer {
  public:
    /// Both must outlive the lexer.
    SqlLexer(std::string_view text, const SqlDialect& dialect) noexcept
        : text_(text), syntax_(dialect.syntax), scanner_(dialect.syntax) {}

    SqlToken Next() noexcept;
    /// The bytes of the last token.
    std::string_view Text() const noexcept { return text_.substr(begin_, end_ - begin_); }
    std::size_t Begin() const noexcept { return begin_; }
    std::size_t End() const noexcept { return end_; }

  private:
    SqlToken Symbol() noexcept;

    std::string_view text_;
    const CQXBASE::SqlSyntax& syntax_;
    CQXBASE::SqlScanner scanner_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
};

}  // namespace CQXDB::adapter
