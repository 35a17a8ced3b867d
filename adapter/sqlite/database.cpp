#include "adapter/sqlite/database.h"

#include "adapter/sqlite/connection.h"
#include "adapter/sqlite/heap.h"
#include "adapter/sqlite/open.h"

namespace CQXDB::adapter::sqlite {
namespace {

template <SqliteOpener Open>
std::shared_ptr<ConnectionPool> MakePool(const QXDataSource& dataSource) {
    const SqliteSettings settings = SqliteSettings::Of(dataSource);
    return std::make_shared<ConnectionPool>(
        [settings] { return std::make_unique<SqliteConnection>(settings, Open); }, settings.pool);
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
