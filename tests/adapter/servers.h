// The servers of a test program: each starts when it is first asked for, and stops with the
// program.
#pragma once

#include "tests/adapter/backend.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/PostgresServer.h"

namespace qxdb_test {

PostgresServer& Postgres();
MariaDbServer& MariaDb();

// How they are reached.
const Backend& PostgreSqlBackend();
const Backend& MariaDbBackend();
const Backend& OdbcBackend();  ///< PostgreSQL once more

/// Ends the server while `db` works, and once more while it is idle; gives how the call ended that
/// found nobody.
Outcome GoAndComeBack(Client& db, DatabaseServer& server);

}  // namespace qxdb_test
