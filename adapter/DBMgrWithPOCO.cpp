#include <qxdb/DBMgrWithPOCO.h>

#include "adapter/database.h"
#include "adapter/pool_registry.h"

namespace CQXDB {
namespace {

adapter::PoolRegistry& Pools() {
    static adapter::PoolRegistry pools(
        [](const QXDataSource& dataSource) {
            return adapter::DatabaseOf(dataSource).makePool(dataSource);
        },
        [](const QXDataSource& dataSource) {
            return adapter::DatabaseOf(dataSource).changesDatabase;
        });
    return pools;
}

}  // namespace

DBMgrWithPOCO::DBMgrWithPOCO() noexcept : DBMgrBase(Pools) {}

}  // namespace CQXDB
