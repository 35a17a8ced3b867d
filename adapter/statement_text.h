// What the adapter has to know of a statement text before a database sees it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "adapter/sql_lexer.h"

namespace CQXDB::adapter {

/// How the parameters are written in the text that the database gets.
enum class ParameterStyle { QuestionMark, DollarNumber };

struct NativeText {
    std::string sql;
    std::size_t parameters = 0;
    bool literalQuestionMark = false;  ///< the text has a "??", written as "?" in `sql`
};

NativeText ToNative(std::string_view text, const SqlDialect& dialect, ParameterStyle style);

/// The statements of a script without their semicolons; pieces of blanks and comments are left out.
/// The body of a trigger belongs to its statement; where bodies nest, so does all that follows.
std::vector<std::string_view> SplitStatements(std::string_view text, const SqlDialect& dialect);

/// True for one statement that begins or ends a transaction: BEGIN, START TRANSACTION, COMMIT, END
/// or ROLLBACK. A BEGIN that opens a block, and ROLLBACK TO a savepoint, do neither.
bool ControlsTransaction(std::string_view statement, const SqlDialect& dialect);

/// The same for any statement of a script.
bool HoldsTransactionControl(const std::vector<std::string_view>& script,
                             const SqlDialect& dialect);

/// The first word of a statement in capitals; "" when it starts with something else.
std::string FirstWord(std::string_view statement, const SqlDialect& dialect);

/// True when one statement can only read, as far as its words show. `SELECT ... INTO` and
/// data-changing WITH queries are not taken for reading.
bool LooksReadOnly(std::string_view statement, const SqlDialect& dialect);

}  // namespace CQXDB::adapter
