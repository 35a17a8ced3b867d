// What a database's folder offers to the managers.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include <qxdb/QXDataSource.h>

#include "adapter/connection_pool.h"

namespace CQXDB::adapter {

/// One kind of database. Each folder defines one in its namespace, as the constant kDatabase.
struct Database {
    /// Makes the pool of a data source; throws DatabaseError for a description it can't use.
    using PoolMaker = std::shared_ptr<ConnectionPool> (*)(const QXDataSource&);

    CQXDB_DriverType_ENUM driver;  ///< the connector that it is
    PoolMaker makePool;
    /// True for the data source types that it serves when no driver is named.
    bool (*serves)(CQXDB_DSType_ENUM type) noexcept;
    /// True when one connection can reach all databases of its server.
    bool changesDatabase = false;
    /// Opens files in this process, without a connector; null for all but the embedded database.
    PoolMaker makeEmbeddedPool = nullptr;
    /// See DBMgr::LimitMemory; null for all but the embedded database.
    bool (*limitMemory)(std::size_t bytes) noexcept = nullptr;
};

/// Those that this build has, in the order of the list in this folder's CMakeLists.txt.
const std::vector<const Database*>& Databases();

/// The one that the data source's driver names, or else serves its type. Throws DatabaseError when
/// this build has none.
const Database& DatabaseOf(const QXDataSource& dataSource);
/// The embedded one. Throws DatabaseError when this build has none.
const Database& EmbeddedDatabase();

}  // namespace CQXDB::adapter
