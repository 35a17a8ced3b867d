#include "adapter/odbc/connection_string.h"

#include <string_view>

#include "adapter/database_error.h"
#include "adapter/port_of.h"
#include "util/text.h"

namespace CQXDB::adapter::odbc {
namespace {

class Builder {
  public:
    void Add(std::string_view key, const std::wstring& value) {
        if (!value.empty()) {
            AddUtf8(key, CQXBASE::WideToUtf8(value));
        }
    }
    void AddUtf8(std::string_view key, const std::string& value) {
        text_.append(key).append("=").append(Quoted(value)).append(";");
    }
    void AddAsItIs(const std::wstring& text) { text_ += CQXBASE::WideToUtf8(text); }
    std::string Take() { return std::move(text_); }

  private:
    static std::string Quoted(const std::string& value) {
        const bool blankEnds = !value.empty() && (value.front() == ' ' || value.back() == ' ');
        if (!blankEnds && value.find_first_of("[]{}(),;?*=!@") == std::string::npos) {
            return value;
        }
        std::string quoted = "{";
        for (const char c : value) {
            quoted.append(c == '}' ? 2 : 1, c);
        }
        return quoted + "}";
    }

    std::string text_;
};

void AddDriver(Builder& builder, const QXDataSource& dataSource) {
    if (!dataSource.dsn.empty()) {
        builder.Add("DSN", dataSource.dsn);
    } else if (!dataSource.driverName.empty()) {
        builder.AddAsItIs(L"Driver={" + dataSource.driverName + L"};");
    } else if (dataSource.type == CQXDB_DS_SQLSERVER) {
        builder.AddAsItIs(L"Driver={ODBC Driver 18 for SQL Server};");
    } else {
        throw DatabaseError(
            DBMGR_BAD_DATA_SOURCE,
            "an ODBC data source needs a DSN, a driver name or a connection string");
    }
}

void AddServer(Builder& builder, const QXDataSource& dataSource) {
    const std::int32_t number = PortOf(dataSource);
    const std::wstring port = number == 0 ? L"" : std::to_wstring(number);
    switch (dataSource.type) {
        case CQXDB_DS_SQLSERVER:
            builder.Add("Server",
                        port.empty() ? dataSource.server : dataSource.server + L"," + port);
            builder.Add("Database", dataSource.database);
            break;
        case CQXDB_DS_ORACLE:
            builder.Add("DBQ", dataSource.server.empty() ? dataSource.database
                                                         : L"//" + dataSource.server +
                                                               (port.empty() ? L"" : L":" + port) +
                                                               L"/" + dataSource.database);
            break;
        default:
            builder.Add("Server", dataSource.server);
            builder.Add("Port", port);
            builder.Add("Database", dataSource.database);
    }
}

void AddLogin(Builder& builder, const QXDataSource& dataSource) {
    if (!dataSource.trusted) {
        builder.Add("UID", dataSource.user);
        builder.Add("PWD", dataSource.password);
    } else if (dataSource.type == CQXDB_DS_SQLSERVER) {
        builder.AddUtf8("Trusted_Connection", "Yes");
    }
}

/// What keeps values exact with drivers that are not so by themselves, and results out of memory.
void AddManners(Builder& builder, const QXDataSource& dataSource) {
    if (dataSource.type == CQXDB_DS_POSTGRESQL) {
        builder.AddAsItIs(
            L"BoolsAsChar=0;ByteaAsLongVarBinary=1;LFConversion=0;"
            L"UseDeclareFetch=1;Fetch=1000;");
    }
}

}  // namespace

std::string OdbcConnectionString(const QXDataSource& dataSource, const Options& options) {
    if (!dataSource.connectionString.empty()) {
        options.RefuseRest();
        return CQXBASE::WideToUtf8(dataSource.connectionString);
    }
    Builder builder;
    AddDriver(builder, dataSource);
    AddServer(builder, dataSource);
    AddLogin(builder, dataSource);
    AddManners(builder, dataSource);
    for (const auto& [key, value] : options.Rest()) {
        builder.AddUtf8(key, value);
    }
    builder.AddAsItIs(dataSource.extra);
    return builder.Take();
}

}  // namespace CQXDB::adapter::odbc
