// SQL functions that take long by themselves, in a form that can be ended.
#pragma once

#include "adapter/sqlite/session.h"

namespace CQXDB::adapter::sqlite {

/// Puts others in the place of SQLite's own, with the same results. The time of instr, replace,
/// trim, ltrim and rtrim is the product of their arguments' lengths, during which SQLite doesn't
/// look at its timer: these do. Throws DatabaseError.
void ReplaceSlowFunctions(SqliteSession& session);

}  // namespace CQXDB::adapter::sqlite
