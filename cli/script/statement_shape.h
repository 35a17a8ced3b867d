// Tells whether a ";" ends a statement or stands inside the body of a trigger or routine.
#pragma once

#include <cstddef>
#include <string_view>

#include "cli/dialect.h"

namespace CQXCLI::script {

/// Follows the words and symbols of one statement:
/// - SQLite: CREATE TRIGGER ends at "; END ;", the rule of its own shell.
/// - PostgreSQL: ";" inside parentheses, or between BEGIN ATOMIC and its END, ends nothing.
/// - SQL Server and Oracle: routines (in Oracle blocks, too) end only at the dialect's end line.
class StatementShape {
  public:
    explicit StatementShape(const Dialect& dialect) : dialect_(&dialect) {}

    void Reset() { *this = StatementShape(*dialect_); }
    void Word(std::string_view word);
    /// Anything else than a word, such as ";", "(" or a quoted text (given by its first character).
    void Symbol(char symbol);
    bool SemicolonEnds() const noexcept;

  private:
    enum class Body { Undecided, None, Trigger, Atomic, UntilEndLine };

    Body Decide(std::string_view word) const;
    Body Routine() const;
    void FollowAtomic(std::string_view word);

    const Dialect* dialect_;
    Body body_ = Body::Undecided;
    std::size_t words_ = 0;
    std::size_t parentheses_ = 0;
    std::size_t blocks_ = 0;       ///< BEGIN ATOMIC and CASE without their END
    bool afterSemicolon_ = false;  ///< a trigger's last token was ";"
    bool afterEnd_ = false;        ///< a trigger's last tokens were "; END"
};

}  // namespace CQXCLI::script
