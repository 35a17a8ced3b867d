// SQLite, which every platform has.
#pragma once

#include <string>

#include "tests/adapter/backend.h"

namespace qxdb_test {

/// A database file of that name, which the test program removes at its end.
Backend Sqlite(const std::string& name, bool poco);

const Backend& SqliteDirect();
const Backend& SqlitePoco();

}  // namespace qxdb_test
