#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

#include "adapter/odbc/connection.h"
#include "adapter/odbc/connection_string.h"
#include "adapter/odbc/database.h"
#include "adapter/odbc/text.h"
#include "adapter/options.h"

namespace CQXDB::adapter::odbc {
namespace {

struct Settings {
    std::string connectionString;
    std::uintptr_t connectSeconds = 15;
    std::uintptr_t statementSeconds = 0;
};

std::unique_ptr<Connection> Open(const Settings& settings) {
    auto handle = std::make_unique<OdbcConnection::Handle>();
    SQLSetConnectAttrW(*handle, SQL_ATTR_LOGIN_TIMEOUT, OdbcNumber(settings.connectSeconds),
                       SQL_IS_UINTEGER);
    OdbcText text = ToOdbcText(settings.connectionString);
    const SQLRETURN code =
        SQLDriverConnectW(*handle, nullptr, text.data(), static_cast<SQLSMALLINT>(text.size()),
                          nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
    if (OdbcFailed(code)) {
        throw OdbcDiagnosis::Of(SQL_HANDLE_DBC, *handle).Error();
    }
    return std::make_unique<OdbcConnection>(std::move(handle), settings.statementSeconds);
}

std::shared_ptr<ConnectionPool> MakePool(const QXDataSource& dataSource) {
    Options options(dataSource.options);
    const PoolLimits limits = options.TakePoolLimits();
    Settings settings;
    settings.connectSeconds =
        static_cast<std::uintptr_t>(options.TakeNumber("connect_timeout", 15, 1, 86400));
    settings.statementSeconds = static_cast<std::uintptr_t>(
        std::chrono::ceil<std::chrono::seconds>(options.TakeStatementTimeout()).count());
    settings.connectionString = OdbcConnectionString(dataSource, options);
    if (settings.connectionString.size() > INT16_MAX) {
        throw DatabaseError(DBMGR_BAD_DATA_SOURCE, "the connection string is too long");
    }
    return std::make_shared<ConnectionPool>([settings] { return Open(settings); }, limits);
}

}  // namespace

const Database kDatabase{CQXDB_DRIVER_ODBC, MakePool, [](CQXDB_DSType_ENUM type) noexcept {
                             return type == CQXDB_DS_SQLSERVER || type == CQXDB_DS_ORACLE ||
                                    type == CQXDB_DS_ODBC;
                         }};

}  // namespace CQXDB::adapter::odbc
