// Cuts SQL text into words, quoted texts, comments and symbols.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "cli/dialect.h"

namespace CQXCLI {

struct Token {
    enum class Kind { Space, Comment, Word, Quoted, Symbol };
    Kind kind = Kind::Space;
    std::size_t begin = 0;
    std::size_t end = 0;
    bool closed = true;  ///< false: the text ended inside a quoted text or a comment
};

/// Scans a text that may arrive in pieces. A long quoted text is looked at once, however many
/// pieces it comes in.
class SqlScanner {
  public:
    explicit SqlScanner(const Dialect& dialect) : dialect_(&dialect) {}

    /// Scans the token that begins at `begin` (below text.size()). False when its end is not there
    /// yet; the next call must be for the same token with more text behind it. With `final`, no
    /// more text comes and the answer is always true.
    bool Next(std::string_view text, std::size_t begin, bool final, Token& token);

  private:
    bool Dispatch(std::string_view text, std::size_t begin);
    bool Word(std::string_view text, std::size_t begin);
    bool Quoted(std::string_view text, std::size_t open, char close, bool backslash);
    bool DollarQuoted(std::string_view text, std::size_t begin);
    bool LineComment(std::string_view text, std::size_t begin);
    bool BlockComment(std::string_view text, std::size_t begin);
    bool Symbol(std::size_t begin);
    bool NeedsMore(Token::Kind kind);
    bool Done(Token::Kind kind, std::size_t end);
    std::size_t From(std::size_t begin, std::size_t first) const;

    const Dialect* dialect_;
    Token token_;
    bool final_ = false;
    std::size_t seen_ = 0;   ///< bytes of the unfinished token already looked at
    std::size_t depth_ = 0;  ///< comments open in the unfinished token
};

/// Letters, digits, "_" and every byte of a character beyond ASCII.
bool IsWordByte(char c) noexcept;
std::string UpperAscii(std::string_view text);

}  // namespace CQXCLI
