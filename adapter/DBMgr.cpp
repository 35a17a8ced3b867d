#include <algorithm>

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

bool DBMgr::LimitMemory(std::size_t bytes) noexcept {
    const auto& databases = adapter::Databases();
    return std::any_of(databases.begin(), databases.end(), [bytes](const auto* each) {
        return each->limitMemory != nullptr && each->limitMemory(bytes);
    });
}

}  // namespace CQXDB
