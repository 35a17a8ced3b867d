// LIKE and GLOB that can be interrupted.
#pragma once

#include "adapter/sqlite/session.h"

namespace CQXDB::adapter::sqlite {

/// Replaces SQLite's LIKE and GLOB, which take as long as text and pattern multiplied, whatever
/// the timer says, by functions with the same results that heed the session's timer. No index
/// serves them. Throws DatabaseError.
void ReplaceLike(SqliteSession& session);

}  // namespace CQXDB::adapter::sqlite
