// Tells the few kinds of statement that the program treats by itself.
#pragma once

#include <string>
#include <string_view>

#include "cli/dialect.h"

namespace CQXCLI::script {

enum class StatementKind {
    Other,
    Begin,      ///< starts a transaction; detail: what it says after BEGIN or START TRANSACTION
    Commit,     ///< COMMIT; in SQLite and PostgreSQL also END
    Rollback,   ///< of the whole transaction; ROLLBACK TO is Other
    Use,        ///< USE database; detail: the name, without quotes
    CopyInput,  ///< COPY ... FROM STDIN, whose data would follow in the script
};

struct StatementClass {
    StatementKind kind = StatementKind::Other;
    std::string detail = {};
};

StatementClass Classify(const Dialect& dialect, std::string_view sql);

/// True for a query that begins with SELECT, VALUES, TABLE or WITH and holds no word that could
/// change data.
bool OnlyReads(const Dialect& dialect, std::string_view sql);

}  // namespace CQXCLI::script
