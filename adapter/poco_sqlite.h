// SQLite through POCO Data.
#pragma once

#include <memory>

#include <qxdb/QXDataSource.h>

#include "adapter/connection_pool.h"

namespace CQXDB::adapter {

std::shared_ptr<ConnectionPool> MakePocoSqlitePool(const QXDataSource& dataSource);

}  // namespace CQXDB::adapter
