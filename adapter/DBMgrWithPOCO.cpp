#include <qxdb/DBMgrWithPOCO.h>

#include "adapter/poco_pools.h"
#include "adapter/pool_registry.h"

namespace CQXDB {
namespace {

adapter::PoolRegistry& Pools() {
    static adapter::PoolRegistry pools(adapter::MakePocoPool, adapter::ChangesDatabase);
    return pools;
}

}  // namespace

DBMgrWithPOCO::DBMgrWithPOCO() noexcept : DBMgrBase(Pools) {}

}  // namespace CQXDB
