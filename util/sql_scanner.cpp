#include "util/sql_scanner.h"

#include <algorithm>

#include "util/ascii.h"

namespace CQXBASE {

namespace {

constexpr auto npos = std::string_view::npos;

char At(std::string_view text, std::size_t index) noexcept {
    return index < text.size() ? text[index] : '\0';
}

}  // namespace

bool IsWordByte(char c) noexcept {
    return IsAsciiLetter(c) || IsAsciiDigit(c) || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

bool CommentRuns(std::string_view text, const SqlSyntax& syntax) noexcept {
    return syntax.commentsRun && (text.substr(0, 3) == "/*!" || text.substr(0, 4) == "/*M!");
}

bool SqlScanner::Next(std::string_view text, std::size_t begin, bool final,
                      SqlPiece& piece) noexcept {
    final_ = final;
    piece_ = {SqlPiece::Kind::Space, begin, text.size(), true};
    if (!Dispatch(text, begin)) {
        return false;
    }
    seen_ = 0;
    depth_ = 0;
    piece = piece_;
    return true;
}

bool SqlScanner::Dispatch(std::string_view text, std::size_t begin) noexcept {
    const char c = text[begin];
    if (IsAsciiBlank(c)) {
        return Space(text, begin);
    }
    if (IsWordByte(c)) {
        return Word(text, begin);
    }
    if (begin + 1 == text.size() && !final_ && std::string_view("-/$").find(c) != npos) {
        return false;
    }
    if (c == '\'' || c == '"') {
        return Quoted(text, begin, c, syntax_->backslashEscapes);
    }
    if ((c == '`' && syntax_->backticks) || (c == '[' && syntax_->brackets)) {
        return Quoted(text, begin, c == '[' ? ']' : '`', false);
    }
    if (c == '/' && At(text, begin + 1) == '*') {
        return BlockComment(text, begin);
    }
    if (c == '$' && syntax_->dollarQuotes) {
        return DollarQuoted(text, begin);
    }
    return (c == '-' || (c == '#' && syntax_->hashComments)) ? LineComment(text, begin)
                                                             : Symbol(begin);
}

bool SqlScanner::Space(std::string_view text, std::size_t begin) noexcept {
    std::size_t end = begin + 1;
    while (end < text.size() && IsAsciiBlank(text[end])) {
        ++end;
    }
    return Done(SqlPiece::Kind::Space, end);
}

bool SqlScanner::Word(std::string_view text, std::size_t begin) noexcept {
    const bool escapes = syntax_->escapeStrings && UpperAscii(text[begin]) == 'E';
    if (escapes && At(text, begin + 1) == '\'') {
        return Quoted(text, begin + 1, '\'', true);
    }
    std::size_t end = From(begin, begin + 1);
    while (end < text.size() &&
           (IsWordByte(text[end]) || (text[end] == '$' && syntax_->dollarInWords))) {
        ++end;
    }
    seen_ = end - begin;
    return (end < text.size() || final_) && Done(SqlPiece::Kind::Word, end);
}

bool SqlScanner::Quoted(std::string_view text, std::size_t open, char close,
                        bool backslash) noexcept {
    std::size_t at = From(piece_.begin, open + 1);
    for (;;) {
        const char stops[] = {close, '\\'};
        at = backslash ? text.find_first_of({stops, 2}, at) : text.find(close, at);
        seen_ = std::min(at, text.size()) - piece_.begin;
        if (at == npos) {
            return NeedsMore(SqlPiece::Kind::Quoted);
        }
        if (at + 1 == text.size() && !final_) {
            return false;
        }
        const bool escape = backslash && text[at] == '\\';
        if (!escape && At(text, at + 1) != close) {
            return Done(SqlPiece::Kind::Quoted, at + 1);
        }
        at += 2;
    }
}

bool SqlScanner::DollarQuoted(std::string_view text, std::size_t begin) noexcept {
    std::size_t end = begin + 1;
    while (end < text.size() && IsWordByte(text[end])) {
        ++end;
    }
    if (end == text.size() && !final_) {
        return false;
    }
    if (At(text, end) != '$' || IsAsciiDigit(text[begin + 1])) {
        return Symbol(begin);
    }
    const std::string_view tag = text.substr(begin, end - begin + 1);
    const std::size_t close = text.find(tag, From(begin, end + 1));
    if (close == npos) {
        // The closing tag may be cut at the end of what has arrived.
        seen_ =
            std::max(tag.size(), text.size() - begin - std::min(tag.size(), text.size() - begin));
        return NeedsMore(SqlPiece::Kind::Quoted);
    }
    return Done(SqlPiece::Kind::Quoted, close + tag.size());
}

bool SqlScanner::LineComment(std::string_view text, std::size_t begin) noexcept {
    if (text[begin] == '-') {
        if (At(text, begin + 1) != '-') {
            return Symbol(begin);
        }
        if (syntax_->dashNeedsBlank && begin + 2 == text.size() && !final_) {
            return false;
        }
        const char behind = begin + 2 < text.size() ? text[begin + 2] : ' ';
        if (syntax_->dashNeedsBlank && !IsAsciiBlank(behind)) {
            return Symbol(begin);
        }
    }
    const std::size_t end = text.find('\n', From(begin, begin));
    seen_ = text.size() - begin;
    return (end != npos || final_) && Done(SqlPiece::Kind::Comment, end);
}

bool SqlScanner::BlockComment(std::string_view text, std::size_t begin) noexcept {
    std::size_t at = From(begin, begin + 2);
    depth_ = std::max<std::size_t>(depth_, 1);
    while ((at = text.find_first_of("*/", at)) != npos) {
        seen_ = at - begin;
        if (at + 1 == text.size() && !final_) {
            return false;
        }
        const std::string_view pair = text.substr(at, 2);
        if (pair == "*/" && --depth_ == 0) {
            return Done(SqlPiece::Kind::Comment, at + 2);
        }
        const bool opens = pair == "/*" && syntax_->nestedComments;
        depth_ += opens ? 1U : 0U;
        at += opens || pair == "*/" ? 2 : 1;
    }
    seen_ = text.size() - begin;
    return NeedsMore(SqlPiece::Kind::Comment);
}

bool SqlScanner::Symbol(std::size_t begin) noexcept {
    return Done(SqlPiece::Kind::Symbol, begin + 1);
}

bool SqlScanner::NeedsMore(SqlPiece::Kind kind) noexcept {
    piece_.closed = false;
    return final_ && Done(kind, npos);
}

bool SqlScanner::Done(SqlPiece::Kind kind, std::size_t end) noexcept {
    piece_.kind = kind;
    piece_.end = std::min(end, piece_.end);
    return true;
}

std::size_t SqlScanner::From(std::size_t begin, std::size_t first) const noexcept {
    return std::max(begin + seen_, first);
}

}  // namespace CQXBASE
