#include "adapter/sql_lexer.h"

#include <algorithm>

namespace CQXDB::adapter {
namespace {

bool IsBlank(char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}
/// Bytes from 0x80 on are parts of letters in UTF-8.
bool IsLetter(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}
bool IsWordPart(char c) noexcept {
    return IsLetter(c) || IsDigit(c) || c == '$';
}

constexpr SqlDialect Sqlite() noexcept {
    SqlDialect d;
    d.brackets = true;
    d.backticks = true;
    d.endCommits = true;
    return d;
}

constexpr SqlDialect PostgreSql() noexcept {
    SqlDialect d;
    d.escapeStrings = true;
    d.dollarQuotes = true;
    d.endCommits = true;
    d.nestedComments = true;
    return d;
}

constexpr SqlDialect MySql(bool backslashEscapes) noexcept {
    SqlDialect d;
    d.backslashEscapes = backslashEscapes;
    d.backticks = true;
    d.hashComments = true;
    d.commentsRun = true;
    d.dashNeedsBlank = true;
    d.nestedBodies = true;
    return d;
}

constexpr SqlDialect SqlServer() noexcept {
    SqlDialect d;
    d.brackets = true;
    d.nestedComments = true;
    d.nestedBodies = true;
    return d;
}

constexpr SqlDialect Other() noexcept {
    SqlDialect d;
    d.nestedBodies = true;
    return d;
}

}  // namespace

const SqlDialect kSqliteDialect = Sqlite();
const SqlDialect kPostgreSqlDialect = PostgreSql();
const SqlDialect kMySqlDialect = MySql(true);
const SqlDialect kMySqlPlainDialect = MySql(false);
const SqlDialect kSqlServerDialect = SqlServer();
const SqlDialect kOdbcDialect = Other();

SqlToken SqlLexer::Next() noexcept {
    begin_ = end_;
    SkipBlanksAndComments();
    if (begin_ >= text_.size()) {
        end_ = begin_ = text_.size();
        return SqlToken::End;
    }
    const char c = text_[begin_];
    if (IsLetter(c)) {
        return TakeWord();
    }
    if (const char close = ClosingQuote(c)) {
        return TakeQuoted(begin_, close, dialect_.backslashEscapes && (c == '\'' || c == '"'));
    }
    if (c == '$' && dialect_.dollarQuotes && TakeDollarQuoted()) {
        return SqlToken::Quoted;
    }
    end_ = begin_ + 1;
    if (c == '?' && At(end_) == '?') {
        ++end_;
        return SqlToken::QuestionMark;
    }
    if (IsDigit(c) || c == '$') {
        while (IsWordPart(At(end_))) {
            ++end_;
        }
        return SqlToken::Other;
    }
    return c == '?' ? SqlToken::Parameter : c == ';' ? SqlToken::Semicolon : SqlToken::Other;
}

void SqlLexer::SkipBlanksAndComments() noexcept {
    do {
        while (IsBlank(At(begin_))) {
            ++begin_;
        }
    } while (SkipComment());
}

bool SqlLexer::SkipComment() noexcept {
    const char c = At(begin_);
    const char next = At(begin_ + 1);
    const bool dashes =
        c == '-' && next == '-' &&
        (!dialect_.dashNeedsBlank || begin_ + 2 >= text_.size() || IsBlank(text_[begin_ + 2]));
    if (dashes || (c == '#' && dialect_.hashComments)) {
        SkipLine();
        return true;
    }
    const std::string_view behind = text_.substr(std::min(begin_ + 2, text_.size()), 2);
    const bool runs = dialect_.commentsRun && (behind.substr(0, 1) == "!" || behind == "M!");
    if (c == '/' && next == '*' && !runs) {
        SkipBlockComment();
        return true;
    }
    return false;
}

void SqlLexer::SkipLine() noexcept {
    const std::size_t end = text_.find('\n', begin_);
    begin_ = end == std::string_view::npos ? text_.size() : end + 1;
}

void SqlLexer::SkipBlockComment() noexcept {
    int depth = 1;
    begin_ += 2;
    while (begin_ < text_.size() && depth > 0) {
        if (At(begin_) == '*' && At(begin_ + 1) == '/') {
            --depth;
            begin_ += 2;
        } else if (dialect_.nestedComments && At(begin_) == '/' && At(begin_ + 1) == '*') {
            ++depth;
            begin_ += 2;
        } else {
            ++begin_;
        }
    }
}

SqlToken SqlLexer::TakeWord() noexcept {
    end_ = begin_ + 1;
    const bool escapePrefix = dialect_.escapeStrings && (At(begin_) == 'E' || At(begin_) == 'e');
    if (escapePrefix && At(end_) == '\'') {
        return TakeQuoted(end_, '\'', true);
    }
    while (IsWordPart(At(end_))) {
        ++end_;
    }
    return SqlToken::Word;
}

SqlToken SqlLexer::TakeQuoted(std::size_t quoteAt, char close, bool backslash) noexcept {
    end_ = quoteAt + 1;
    while (end_ < text_.size()) {
        const char c = text_[end_++];
        if (c == '\\' && backslash) {
            ++end_;
        } else if (c == close) {
            // A doubled quote stands for itself.
            if (At(end_) != close) {
                return SqlToken::Quoted;
            }
            ++end_;
        }
    }
    end_ = text_.size();
    return SqlToken::Quoted;
}

bool SqlLexer::TakeDollarQuoted() noexcept {
    std::size_t tagEnd = begin_ + 1;
    while (IsLetter(At(tagEnd)) || (tagEnd > begin_ + 1 && IsDigit(At(tagEnd)))) {
        ++tagEnd;
    }
    if (At(tagEnd) != '$') {
        return false;
    }
    const std::string_view tag = text_.substr(begin_, tagEnd + 1 - begin_);
    const std::size_t close = text_.find(tag, tagEnd + 1);
    end_ = close == std::string_view::npos ? text_.size() : close + tag.size();
    return true;
}

char SqlLexer::ClosingQuote(char open) const noexcept {
    switch (open) {
        case '\'':
        case '"':
            return open;
        case '`':
            return dialect_.backticks ? '`' : '\0';
        case '[':
            return dialect_.brackets ? ']' : '\0';
        default:
            return '\0';
    }
}

}  // namespace CQXDB::adapter
