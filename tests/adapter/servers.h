// The servers of a test program: each starts when it is first asked for, and stops with the
// program.
#pragma once

#include "tests/support/MariaDbServer.h"
#include "tests/support/PostgresServer.h"

namespace qxdb_test {

PostgresServer& Postgres();
MariaDbServer& MariaDb();

}  // namespace qxdb_test
