#include "adapter/sqlite/database.h"

#include "adapter/sqlite/heap.h"
#include "adapter/sqlite/open.h"

namespace CQXDB::adapter::sqlite {
namespace {

template <std::unique_ptr<Connection> (*Open)(const SqliteSettings&)>
std::shared_ptr<ConnectionPool> MakePool(const QXDataSource& dataSource) {
    const SqliteSettings settings = SqliteSettings::Of(dataSource);
    return std::make_shared<ConnectionPool>([settings] { return Open(settings); }, settings.pool);
}

}  // namespace

const Database kDatabase{CQXDB_DRIVER_SQLITE,
                         MakePool<OpenPocoSqlite>,
                         [](CQXDB_DSType_ENUM type) noexcept {
                             return type == CQXDB_DS_EMBEDDED || type == CQXDB_DS_SQLITE;
                         },
                         false,
                         MakePool<OpenSqlite>,
                         LimitHeaps};

}  // namespace CQXDB::adapter::sqlite
