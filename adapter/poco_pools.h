// Which POCO connector serves a data source.
#pragma once

#include <memory>

#include <qxdb/QXDataSource.h>

#include "adapter/connection_pool.h"

namespace CQXDB::adapter {

/// Throws DatabaseError when no connector of this build serves the data source.
std::shared_ptr<ConnectionPool> MakePocoPool(const QXDataSource& dataSource);

/// True when one connection can reach all databases of the data source's server.
bool ChangesDatabase(const QXDataSource& dataSource);

}  // namespace CQXDB::adapter
