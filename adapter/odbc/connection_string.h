// The connection string that describes a data source to ODBC.
#pragma once

#include <string>

#include <qxdb/QXDataSource.h>

#include "adapter/options.h"

namespace CQXDB::adapter::odbc {

/// UTF-8. A whole connection string in the data source is taken as it is; otherwise one is built,
/// with what is left of the options as keys of the driver's own. Throws DatabaseError when it
/// neither names a driver nor a DSN.
std::string OdbcConnectionString(const QXDataSource& dataSource, const Options& options);

}  // namespace CQXDB::adapter::odbc
