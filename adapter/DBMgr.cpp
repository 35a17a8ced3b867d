#include <qxdb/DBMgr.h>

#include "adapter/pool_registry.h"
#include "adapter/sqlite_open.h"

namespace CQXDB {
namespace {

adapter::PoolRegistry& Pools() {
    static adapter::PoolRegistry pools(adapter::MakeSqlitePool);
    return pools;
}

}  // namespace

DBMgr::DBMgr() noexcept : DBMgrBase(Pools) {}

}  // namespace CQXDB
