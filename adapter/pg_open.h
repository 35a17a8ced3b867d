// From a data source to PostgreSQL connections.
#pragma once

#include <memory>

#include <qxdb/QXDataSource.h>

#include "adapter/connection_pool.h"

namespace CQXDB::adapter {

std::shared_ptr<ConnectionPool> MakePgPool(const QXDataSource& dataSource);

}  // namespace CQXDB::adapter
