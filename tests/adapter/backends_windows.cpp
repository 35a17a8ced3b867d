#include "tests/adapter/contract.h"
#include "tests/adapter/sqlite/sqlite_backends.h"

namespace qxdb_test {

// The servers are programs of the other platform.

std::vector<BackendParam> Backends() {
    return {{"Sqlite", SqliteDirect}, {"SqlitePoco", SqlitePoco}};
}

std::vector<BackendParam> ExactBackends() {
    return Backends();
}

std::vector<BackendParam> StoppingBackends() {
    return Backends();
}

}  // namespace qxdb_test
