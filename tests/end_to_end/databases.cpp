#include "tests/end_to_end/databases.h"

#include "tests/support/DatabaseUrl.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/PostgresServer.h"

namespace qxdb_test {

struct Databases::Servers {
    PostgresServer postgres;
    MariaDbServer maria;
};

Databases::Databases()
    : servers_(std::make_unique<Servers>()),
      urls_{{"sqlite", "sqlite:" + folder_.File("both.db")},
            {"postgresql", DatabaseUrl("postgresql", servers_->postgres)},
            {"mariadb", DatabaseUrl("mysql", servers_->maria)}} {}

Databases::~Databases() = default;

}  // namespace qxdb_test
