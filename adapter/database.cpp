#include "adapter/database.h"

#include <algorithm>
#include <string>

#include "adapter/database_error.h"

namespace CQXDB::adapter {
namespace {

template <class Condition>
const Database* Find(const Condition& condition) {
    const auto& databases = Databases();
    const auto found = std::find_if(databases.begin(), databases.end(),
                                    [&](const Database* database) { return condition(*database); });
    return found == databases.end() ? nullptr : *found;
}

[[noreturn]] void RefuseBuild(const std::string& without) {
    throw DatabaseError(DBMGR_BAD_DATA_SOURCE, "this build has no connector for " + without);
}

}  // namespace

const Database& DatabaseOf(const QXDataSource& dataSource) {
    const bool byType = dataSource.driver == CQXDB_DRIVER_DEFAULT;
    const Database* database = Find([&](const Database& each) {
        return byType ? each.serves(dataSource.type) : each.driver == dataSource.driver;
    });
    if (database == nullptr) {
        RefuseBuild(byType ? "data source type " + std::to_string(dataSource.type)
                           : "driver type " + std::to_string(dataSource.driver));
    }
    return *database;
}

const Database& EmbeddedDatabase() {
    const Database* database =
        Find([](const Database& each) { return each.makeEmbeddedPool != nullptr; });
    if (database == nullptr) {
        RefuseBuild("embedded databases");
    }
    return *database;
}

}  // namespace CQXDB::adapter
