// From a data source to connections through ODBC.
#pragma once

#include <memory>

#include <qxdb/QXDataSource.h>

#include "adapter/connection_pool.h"

namespace CQXDB::adapter {

std::shared_ptr<ConnectionPool> MakeOdbcPool(const QXDataSource& dataSource);

}  // namespace CQXDB::adapter
