#include "cli/sql_scanner.h"

#include <algorithm>

namespace CQXCLI {

namespace {

constexpr std::string_view kBlanks = " \t\r\n\f\v";
constexpr auto npos = std::string_view::npos;

bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}
char At(std::string_view text, std::size_t index) {
    return index < text.size() ? text[index] : '\0';
}

}  // namespace

bool IsWordByte(char c) noexcept {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 || IsDigit(c) || c == '_' || (c >= 'a' && c <= 'z') ||
           (c >= 'A' && c <= 'Z');
}

std::string UpperAscii(std::string_view text) {
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    return upper;
}

bool SqlScanner::Next(std::string_view text, std::size_t begin, bool final, Token& token) {
    final_ = final;
    token_ = {Token::Kind::Space, begin, text.size(), true};
    if (!Dispatch(text, begin)) {
        return false;
    }
    seen_ = 0;
    depth_ = 0;
    token = token_;
    return true;
}

bool SqlScanner::Dispatch(std::string_view text, std::size_t begin) {
    const char c = text[begin];
    if (kBlanks.find(c) != npos) {
        return Done(Token::Kind::Space, text.find_first_not_of(kBlanks, begin));
    }
    if (IsWordByte(c)) {
        return Word(text, begin);
    }
    if (begin + 1 == text.size() && !final_ && std::string_view("-/$").find(c) != npos) {
        return false;
    }
    const bool mysql = dialect_->Is(Dialect::Family::MySql);
    if (c == '\'' || c == '"') {
        return Quoted(text, begin, c, mysql);
    }
    if ((c == '`' && dialect_->backticks) || (c == '[' && dialect_->brackets)) {
        return Quoted(text, begin, c == '[' ? ']' : '`', false);
    }
    if (c == '/' && At(text, begin + 1) == '*') {
        return BlockComment(text, begin);
    }
    if (c == '$' && dialect_->Is(Dialect::Family::PostgreSql)) {
        return DollarQuoted(text, begin);
    }
    return (c == '-' || (c == '#' && mysql)) ? LineComment(text, begin) : Symbol(begin);
}

bool SqlScanner::Word(std::string_view text, std::size_t begin) {
    const bool escapes = dialect_->Is(Dialect::Family::PostgreSql) && At(text, begin + 1) == '\'' &&
                         (text[begin] == 'E' || text[begin] == 'e');
    if (escapes) {
        return Quoted(text, begin + 1, '\'', true);
    }
    // MySQL scripts use "$$" as a delimiter, which may follow a word directly.
    const bool dollar = !dialect_->Is(Dialect::Family::MySql);
    std::size_t end = From(begin, begin + 1);
    while (end < text.size() && (IsWordByte(text[end]) || (dollar && text[end] == '$'))) {
        ++end;
    }
    seen_ = end - begin;
    return (end < text.size() || final_) && Done(Token::Kind::Word, end);
}

bool SqlScanner::Quoted(std::string_view text, std::size_t open, char close, bool backslash) {
    std::size_t at = From(token_.begin, open + 1);
    for (;;) {
        const char stops[] = {close, '\\'};
        at = backslash ? text.find_first_of({stops, 2}, at) : text.find(close, at);
        seen_ = std::min(at, text.size()) - token_.begin;
        if (at == npos) {
            return NeedsMore(Token::Kind::Quoted);
        }
        if (at + 1 == text.size() && !final_) {
            return false;
        }
        const bool escape = backslash && text[at] == '\\';
        if (!escape && At(text, at + 1) != close) {
            return Done(Token::Kind::Quoted, at + 1);
        }
        at += 2;
    }
}

bool SqlScanner::DollarQuoted(std::string_view text, std::size_t begin) {
    std::size_t end = begin + 1;
    while (end < text.size() && IsWordByte(text[end])) {
        ++end;
    }
    if (end == text.size() && !final_) {
        return false;
    }
    if (At(text, end) != '$' || IsDigit(text[begin + 1])) {
        return Symbol(begin);
    }
    const std::string_view tag = text.substr(begin, end - begin + 1);
    const std::size_t close = text.find(tag, From(begin, end + 1));
    if (close == npos) {
        // The closing tag may be cut at the end of what has arrived.
        seen_ =
            std::max(tag.size(), text.size() - begin - std::min(tag.size(), text.size() - begin));
        return NeedsMore(Token::Kind::Quoted);
    }
    return Done(Token::Kind::Quoted, close + tag.size());
}

bool SqlScanner::LineComment(std::string_view text, std::size_t begin) {
    if (text[begin] == '-') {
        if (At(text, begin + 1) != '-') {
            return Symbol(begin);
        }
        const bool mysql = dialect_->Is(Dialect::Family::MySql);
        if (mysql && begin + 2 == text.size() && !final_) {
            return false;
        }
        if (mysql && begin + 2 < text.size() && kBlanks.find(text[begin + 2]) == npos) {
            return Symbol(begin);
        }
    }
    const std::size_t end = text.find('\n', From(begin, begin));
    seen_ = text.size() - begin;
    return end == npos && !final_ ? false : Done(Token::Kind::Comment, end);
}

bool SqlScanner::BlockComment(std::string_view text, std::size_t begin) {
    std::size_t at = From(begin, begin + 2);
    depth_ = std::max<std::size_t>(depth_, 1);
    while ((at = text.find_first_of("*/", at)) != npos) {
        seen_ = at - begin;
        if (at + 1 == text.size() && !final_) {
            return false;
        }
        const std::string_view pair = text.substr(at, 2);
        if (pair == "*/" && --depth_ == 0) {
            return Done(Token::Kind::Comment, at + 2);
        }
        const bool opens = pair == "/*" && dialect_->nestedComments;
        depth_ += opens ? 1U : 0U;
        at += opens || pair == "*/" ? 2 : 1;
    }
    seen_ = text.size() - begin;
    return NeedsMore(Token::Kind::Comment);
}

bool SqlScanner::Symbol(std::size_t begin) {
    return Done(Token::Kind::Symbol, begin + 1);
}

bool SqlScanner::NeedsMore(Token::Kind kind) {
    token_.closed = false;
    return final_ && Done(kind, npos);
}

bool SqlScanner::Done(Token::Kind kind, std::size_t end) {
    token_.kind = kind;
    token_.end = std::min(end, token_.end);
    return true;
}

std::size_t SqlScanner::From(std::size_t begin, std::size_t first) const {
    return std::max(begin + seen_, first);
}

}  // namespace CQXCLI
