#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "adapter/options.h"
#include "adapter/port_of.h"
#include "adapter/postgresql/connection.h"
#include "adapter/postgresql/database.h"
#include "adapter/postgresql/errors.h"
#include "adapter/statement_checks.h"
#include "util/text.h"

namespace CQXDB::adapter::postgresql {
namespace {

/// libpq's own names for its settings, each with its value.
using Settings = std::map<std::string, std::string>;

constexpr int kBriefSeconds = 5;

bool KnownToLibpq(const std::string& key) {
    static const std::unique_ptr<PQconninfoOption, void (*)(PQconninfoOption*)> known(
        PQconndefaults(), PQconninfoFree);
    for (const PQconninfoOption* option = known.get();
         option != nullptr && option->keyword != nullptr; ++option) {
        if (key == option->keyword) {
            return true;
        }
    }
    return false;
}

void Set(Settings& settings, const std::string& key, const std::wstring& value) {
    if (!value.empty()) {
        settings[key] = CQXBASE::WideToUtf8(value);
        RefuseNul(settings[key], key);
    }
}

Settings SettingsOf(const QXDataSource& dataSource, const Options& options) {
    Settings settings{{"application_name", "QXDBAgent"}};
    for (const auto& [key, value] : options.Rest()) {
        if (!KnownToLibpq(key)) {
            throw DatabaseError(DBMGR_BAD_OPTION,
                                "the option \"" + key + "\" is not known for PostgreSQL");
        }
        settings[key] = value;
    }
    // Before a colon libpq takes the name of a library to load, which may be a path.
    const auto sslkey = settings.find("sslkey");
    if (sslkey != settings.end() && sslkey->second.rfind(':') != std::string::npos &&
        sslkey->second.rfind(':') != 1) {
        throw DatabaseError(DBMGR_BAD_OPTION, "the option sslkey takes a file, not an engine");
    }
    Set(settings, "host", dataSource.server);
    Set(settings, "dbname", dataSource.database);
    if (const std::int32_t port = PortOf(dataSource); port != 0) {
        settings["port"] = std::to_string(port);
    }
    if (!dataSource.trusted) {
        Set(settings, "user", dataSource.user);
        Set(settings, "password", dataSource.password);
    }
    settings["client_encoding"] = "UTF8";
    return settings;
}

PgHandle Connect(const Settings& settings) {
    std::vector<const char*> keys;
    std::vector<const char*> values;
    for (const auto& [key, value] : settings) {
        keys.push_back(key.c_str());
        values.push_back(value.c_str());
    }
    keys.push_back(nullptr);
    values.push_back(nullptr);
    PgHandle handle(PQconnectdbParams(keys.data(), values.data(), 0));
    if (PQstatus(handle.get()) != CONNECTION_OK) {
        throw PgConnectError(handle.get());
    }
    return handle;
}

/// Logs in as quickly as can be, to end a session.
PgHandle ConnectBriefly(Settings settings) {
    std::string& seconds = settings["connect_timeout"];
    seconds = std::to_string(std::min(std::stoi(seconds), kBriefSeconds));
    PgHandle handle = Connect(settings);
    PQsetNoticeReceiver(
        handle.get(), [](void*, const PGresult*) {}, nullptr);
    return handle;
}

std::unique_ptr<Connection> Open(const Settings& settings, const PgConnection::Session& session) {
    return std::make_unique<PgConnection>(Connect(settings), session,
                                          [settings] { return ConnectBriefly(settings); });
}

std::shared_ptr<ConnectionPool> MakePool(const QXDataSource& dataSource) {
    Options options(dataSource.options);
    const PoolLimits limits = options.TakePoolLimits();
    const std::int64_t seconds = options.TakeNumber("connect_timeout", 15, 1, 86400);
    PgConnection::Session session;
    session.timeZone = options.Take("timezone", "UTC");
    if (session.timeZone == "server") {
        session.timeZone.clear();
    }
    session.statementTimeoutMs = options.TakeStatementTimeout().count();
    Settings settings = SettingsOf(dataSource, options);
    settings["connect_timeout"] = std::to_string(seconds);
    return std::make_shared<ConnectionPool>([settings, session] { return Open(settings, session); },
                                            limits);
}

}  // namespace

const Database kDatabase{CQXDB_DRIVER_POSTGRESQL, MakePool, [](CQXDB_DSType_ENUM type) noexcept {
                             return type == CQXDB_DS_POSTGRESQL;
                         }};

}  // namespace CQXDB::adapter::postgresql
