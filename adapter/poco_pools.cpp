#include "adapter/poco_pools.h"

#include <string>

#include "adapter/database_error.h"
#include "adapter/poco_sqlite.h"
#ifdef QXDB_HAVE_POSTGRESQL
#include "adapter/pg_open.h"
#endif
#ifdef QXDB_HAVE_MYSQL
#include "adapter/mysql_open.h"
#endif
#ifdef QXDB_HAVE_ODBC
#include "adapter/odbc_open.h"
#endif

namespace CQXDB::adapter {
namespace {

CQXDB_DriverType_ENUM DriverOf(const QXDataSource& dataSource) {
    if (dataSource.driver != CQXDB_DRIVER_DEFAULT) {
        return dataSource.driver;
    }
    switch (dataSource.type) {
        case CQXDB_DS_EMBEDDED:
        case CQXDB_DS_SQLITE:
            return CQXDB_DRIVER_SQLITE;
        case CQXDB_DS_POSTGRESQL:
            return CQXDB_DRIVER_POSTGRESQL;
        case CQXDB_DS_MYSQL:
        case CQXDB_DS_MARIADB:
            return CQXDB_DRIVER_MYSQL;
        case CQXDB_DS_SQLSERVER:
        case CQXDB_DS_ORACLE:
        case CQXDB_DS_ODBC:
            return CQXDB_DRIVER_ODBC;
    }
    throw DatabaseError(DBMGR_BAD_DATA_SOURCE,
                        "there is no data source type " + std::to_string(dataSource.type));
}

}  // namespace

bool ChangesDatabase(const QXDataSource& dataSource) {
    return DriverOf(dataSource) == CQXDB_DRIVER_MYSQL;
}

std::shared_ptr<ConnectionPool> MakePocoPool(const QXDataSource& dataSource) {
    const CQXDB_DriverType_ENUM driver = DriverOf(dataSource);
    switch (driver) {
        case CQXDB_DRIVER_SQLITE:
            return MakePocoSqlitePool(dataSource);
#ifdef QXDB_HAVE_POSTGRESQL
        case CQXDB_DRIVER_POSTGRESQL:
            return MakePgPool(dataSource);
#endif
#ifdef QXDB_HAVE_MYSQL
        case CQXDB_DRIVER_MYSQL:
            return MakeMySqlPool(dataSource);
#endif
#ifdef QXDB_HAVE_ODBC
        case CQXDB_DRIVER_ODBC:
            return MakeOdbcPool(dataSource);
#endif
        default:
            throw DatabaseError(
                DBMGR_BAD_DATA_SOURCE,
                "this build has no connector for driver type " + std::to_string(driver));
    }
}

}  // namespace CQXDB::adapter
