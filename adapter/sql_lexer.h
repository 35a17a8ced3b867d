// Cuts a statement text into the few kinds of token that matter to the adapter. Strings, quoted
// identifiers and comments are passed over, so that what stands in them is never taken for
// anything.
#pragma once

#include <cstddef>
#include <string_view>

namespace CQXDB::adapter {

/// How a database writes strings, identifiers and comments.
struct SqlDialect {
    bool backslashEscapes = false;  ///< in every quoted string, not only in E'...'
    bool escapeStrings = false;     ///< E'...' with backslash escapes
    bool dollarQuotes = false;      ///< $tag$...$tag$
    bool brackets = false;          ///< [identifier]
    bool backticks = false;         ///< `identifier`
    bool hashComments = false;      ///< # to the end of the line
    bool commentsRun = false;       ///< what stands in /*! ... */ and /*M! ... */ is no comment
    bool nestedComments = false;    ///< /* /* */ */ is one comment
    bool dashNeedsBlank = false;    ///< "--" starts a comment only before a blank
    bool endCommits = false;        ///< END as a statement is another word for COMMIT
    bool nestedBodies = false;  ///< bodies of CREATE PROCEDURE and the like hold blocks in blocks
};

extern const SqlDialect kSqliteDialect;
extern const SqlDialect kPostgreSqlDialect;
extern const SqlDialect kMySqlDialect;
extern const SqlDialect kMySqlPlainDialect;  ///< under sql_mode NO_BACKSLASH_ESCAPES
extern const SqlDialect kSqlServerDialect;
extern const SqlDialect kOdbcDialect;  ///< any other database

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
    /// `text` must outlive the lexer.
    SqlLexer(std::string_view text, const SqlDialect& dialect) noexcept
        : text_(text), dialect_(dialect) {}

    SqlToken Next() noexcept;
    /// The bytes of the last token.
    std::string_view Text() const noexcept { return text_.substr(begin_, end_ - begin_); }
    std::size_t Begin() const noexcept { return begin_; }
    std::size_t End() const noexcept { return end_; }

  private:
    char At(std::size_t index) const noexcept { return index < text_.size() ? text_[index] : '\0'; }
    void SkipBlanksAndComments() noexcept;
    bool SkipComment() noexcept;
    void SkipLine() noexcept;
    void SkipBlockComment() noexcept;
    SqlToken TakeWord() noexcept;
    SqlToken TakeQuoted(std::size_t quoteAt, char close, bool backslash) noexcept;
    bool TakeDollarQuoted() noexcept;
    char ClosingQuote(char open) const noexcept;

    std::string_view text_;
    const SqlDialect& dialect_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
};

}  // namespace CQXDB::adapter
