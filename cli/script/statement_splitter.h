// Cuts a script into statements while its text arrives.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "cli/dialect.h"
#include "cli/script/statement_shape.h"
#include "util/sql_scanner.h"

namespace CQXCLI::script {

/// One piece of a script.
struct Statement {
    std::string text;         ///< UTF-8, without the delimiter that ended it
    std::size_t line = 1;     ///< line of the script on which it begins, from 1
    bool command = false;     ///< a command of this program ("\c name") instead of SQL
    bool unfinished = false;  ///< the script ended inside a quoted text or a comment
};

/// Holds no more than the statement that is arriving and the bytes of one Feed. Blanks and comments
/// in front of a statement are dropped. MySQL scripts may change the delimiter with DELIMITER.
class StatementSplitter {
  public:
    explicit StatementSplitter(const Dialect& dialect);

    void Feed(std::string_view bytes);
    /// No more text comes: what is left becomes the last statement.
    void Finish() { finished_ = true; }
    /// Takes the next whole statement out; false when there is none yet.
    bool Next(Statement& out);
    /// True while a statement has begun and not ended.
    bool Pending() const noexcept { return begun_; }
    /// The character that the pending statement's last piece waits for (a quote, or "*" for a
    /// comment); 0 when it stands inside nothing.
    char Inside() const noexcept;
    /// Forgets the pending statement.
    void Clear();

  private:
    enum class Step { Continue, Taken, Wait };

    Step Advance(Statement& out);
    Step Consume(const CQXBASE::SqlPiece& piece, Statement& out);
    Step ConsumeSpace(const CQXBASE::SqlPiece& piece, Statement& out);
    Step ConsumeSymbol(const CQXBASE::SqlPiece& piece, Statement& out);
    Step ConsumeWord(const CQXBASE::SqlPiece& piece);
    Step TakeCommand(Statement& out);
    Step TakeDelimiter();
    Step Take(std::size_t next, Statement& out);
    bool TakeRest(Statement& out);
    bool AtEndLine(std::size_t end) const;
    void Begin(const CQXBASE::SqlPiece& piece);
    void MoveTo(std::size_t position);
    std::string_view Text(std::size_t begin, std::size_t end) const;

    const Dialect* dialect_;
    CQXBASE::SqlScanner scanner_;
    StatementShape shape_;
    std::string delimiter_ = ";";
    std::string buffer_;
    std::size_t start_ = 0;      ///< where the pending statement begins in buffer_
    std::size_t end_ = 0;        ///< where its last piece that is no comment ends
    std::size_t position_ = 0;   ///< what lies before it has been scanned
    std::size_t lineStart_ = 0;  ///< where the line of position_ begins, as far as buffer_ holds it
    std::size_t line_ = 1;       ///< line number of position_
    std::size_t startLine_ = 1;
    bool begun_ = false;
    bool finished_ = false;
    bool unfinished_ = false;  ///< the text ended inside the pending statement's last piece
};

}  // namespace CQXCLI::script
