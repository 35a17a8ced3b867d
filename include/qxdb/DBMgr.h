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

    /// Bounds the memory that the statements of all connections with the option "confined" hold
    /// together in this process, DBMgrWithPOCO's included, and those of each one at a quarter of
    /// it; a statement beyond that fails with SQLite's 7. To be called before the process first
    /// uses SQLite; false, without effect, after that, and when this build has no SQLite.
    static bool LimitMemory(std::size_t bytes) noexcept;
};

}  // namespace CQXDB
