// From a data source to MySQL or MariaDB connections.
#pragma once

#include <memory>

#include <qxdb/QXDataSource.h>

#include "adapter/connection_pool.h"

namespace CQXDB::adapter {

std::shared_ptr<ConnectionPool> MakeMySqlPool(const QXDataSource& dataSource);

}  // namespace CQXDB::adapter
