// Cuts SQL text into words, quoted texts, comments and symbols.
#pragma once

#include <cstddef>
#include <string_view>

#include "util/sql_syntax.h"

namespace CQXBASE {

struct SqlPiece {
    enum class Kind {
        Space,
        Comment,
        Word,    ///< of word bytes; it may begin with a digit
        Quoted,  ///< a string or a quoted name
        Symbol,  ///< any other character
    };
    Kind kind = Kind::Space;
    std::size_t begin = 0;
    std::size_t end = 0;
    bool closed = true;  ///< false: the text ended inside a quoted text or a comment
};

/// Scans a text that may arrive in parts. A long quoted text is looked at once, however many parts
/// it comes in.
class SqlScanner {
  public:
    /// `syntax` must outlive the scanner.
    explicit SqlScanner(const SqlSyntax& syntax) noexcept : syntax_(&syntax) {}

    /// Scans the piece that begins at `begin` (below text.size()). False when its end is not there
    /// yet; the next call must be for the same piece with more text behind it. With `final`, no
    /// more text comes and the answer is always true.
    bool Next(std::string_view text, std::size_t begin, bool final, SqlPiece& piece) noexcept;

  private:
    bool Dispatch(std::string_view text, std::size_t begin) noexcept;
    bool Space(std::string_view text, std::size_t begin) noexcept;
    bool Word(std::string_view text, std::size_t begin) noexcept;
    bool Quoted(std::string_view text, std::size_t open, char close, bool backslash) noexcept;
    bool DollarQuoted(std::string_view text, std::size_t begin) noexcept;
    bool LineComment(std::string_view text, std::size_t begin) noexcept;
    bool BlockComment(std::string_view text, std::size_t begin) noexcept;
    bool Symbol(std::size_t begin) noexcept;
    bool NeedsMore(SqlPiece::Kind kind) noexcept;
    bool Done(SqlPiece::Kind kind, std::size_t end) noexcept;
    std::size_t From(std::size_t begin, std::size_t first) const noexcept;

    const SqlSyntax* syntax_;
    SqlPiece piece_;
    bool final_ = false;
    std::size_t seen_ = 0;   ///< bytes of the unfinished piece already looked at
    std::size_t depth_ = 0;  ///< comments open in the unfinished piece
};

/// Letters, digits, "_" and every byte of a character beyond ASCII.
bool IsWordByte(char c) noexcept;
/// True when `text` begins with a comment whose inside the database runs.
bool CommentRuns(std::string_view text, const SqlSyntax& syntax) noexcept;

}  // namespace CQXBASE
