// The database manager for SQLite, PostgreSQL, MySQL/MariaDB and everything behind ODBC.
#pragma once

#include <qxdb/DBMgrBase.h>
#include <qxdb/Export.h>

namespace CQXDB {

/// Serves every data source; the driver type picks the connector. Which of them a build has, and
/// what each takes from POCO Data, is written in docs/adapter.md.
class QXDB_ADAPTER_API DBMgrWithPOCO : public DBMgrBase {
  public:
    DBMgrWithPOCO() noexcept;
};

}  // namespace CQXDB
