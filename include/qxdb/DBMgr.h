// The database manager for embedded SQLite.
#pragma once

#include <qxdb/DBMgrBase.h>
#include <qxdb/Export.h>

namespace CQXDB {

/// For data sources whose type and driver type are both 0, which it takes for granted; the database
/// member is the file path.
class QXDB_ADAPTER_API DBMgr : public DBMgrBase {
  public:
    DBMgr() noexcept;
};

}  // namespace CQXDB
