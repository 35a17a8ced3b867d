#include "tests/adapter/sqlite/sqlite_backends.h"

#include "tests/support/TempDir.h"
#include "util/text.h"

namespace qxdb_test {

using namespace CQXDB;

Backend Sqlite(const std::string& name, bool poco) {
    static const TempDir folder;
    Backend backend;
    backend.poco = poco;
    backend.dataSource.database = CQXBASE::Utf8ToWide(folder.File(name + ".db"));
    backend.dataSource.type = poco ? CQXDB_DS_SQLITE : CQXDB_DS_EMBEDDED;
    backend.dataSource.options = "synchronous=off";  // nothing here outlives the program
    backend.duplicateKey = 1555;                     // SQLITE_CONSTRAINT_PRIMARYKEY
    backend.syntaxError = 1;
    backend.missingTable = 1;
    backend.exactDecimals = false;
    backend.rowError = "CASE WHEN i = 15 THEN abs(-9223372036854775808) ELSE i END";
    backend.minuteLong =
        "WITH RECURSIVE c(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM c) SELECT count(*) FROM c";
    return backend;
}

const Backend& SqliteDirect() {
    static const Backend backend = Sqlite("Sqlite", false);
    return backend;
}

const Backend& SqlitePoco() {
    static const Backend backend = Sqlite("SqlitePoco", true);
    return backend;
}

}  // namespace qxdb_test
