#include <qxdb/DBMgr.h>

#include "adapter/database.h"
#include "adapter/pool_registry.h"

namespace CQXDB {
namespace {

adapter::PoolRegistry& Pools() {
    static adapter::PoolRegistry pools([](const QXDataSource& dataSource) {
        return adapter::EmbeddedDatabase().makeEmbeddedPool(dataSource);
    });
    return pools;
}

}  // namespace

DBMgr::DBMgr() noexcept : DBMgrBase(Pools) {}

}  // namespace CQXDB
