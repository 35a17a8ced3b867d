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

}  // namespace qxdb_test
