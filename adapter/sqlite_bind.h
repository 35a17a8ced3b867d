// Parameters on their way into SQLite.
#pragma once

#include <sqlite3.h>

#include "adapter/connection.h"

namespace CQXDB::adapter {

/// Binds every parameter. Texts and blobs are not copied: `parameters` must live on, unchanged,
/// until the bindings are cleared. Throws DatabaseError for a value that SQLite can't keep as it
/// is.
void BindSqlite(sqlite3* db, sqlite3_stmt* statement, const Parameters& parameters);

}  // namespace CQXDB::adapter
