#include <algorithm>
#include <string>
#include <utility>

#include <Poco/Data/MySQL/Connector.h>
#include <Poco/Exception.h>

#include "adapter/mysql/connection.h"
#include "adapter/mysql/database.h"
#include "adapter/mysql/errors.h"
#include "adapter/options.h"
#include "adapter/port_of.h"
#include "adapter/statement_checks.h"
#include "util/text.h"

namespace CQXDB::adapter::mysql {
namespace {

constexpr unsigned kBriefSeconds = 5;

struct Settings {
    std::string host;
    std::string user;
    std::string password;
    unsigned port = 0;
    unsigned connectSeconds = 15;
    unsigned readSeconds = 0;  ///< 0: no limit
    std::chrono::milliseconds statementTimeout{0};
    bool compress = false;
    bool tls = false;
    bool verify = true;
    std::string socket;
    std::string tlsCa;
    std::string tlsCert;
    std::string tlsKey;
};

std::string Narrow(const std::wstring& text, const char* what) {
    std::string utf8 = CQXBASE::WideToUtf8(text);
    RefuseNul(utf8, what);
    return utf8;
}

void TakeOptions(Options& options, Settings& settings) {
    settings.connectSeconds =
        static_cast<unsigned>(options.TakeNumber("connect_timeout", 15, 1, 86400));
    settings.readSeconds = static_cast<unsigned>(options.TakeNumber("read_timeout", 0, 0, 86400));
    settings.statementTimeout = options.TakeStatementTimeout();
    settings.compress = options.TakeFlag("compress", false);
    settings.socket = options.Take("socket");
    settings.tlsCa = options.Take("ssl_ca");
    settings.tlsCert = options.Take("ssl_cert");
    settings.tlsKey = options.Take("ssl_key");
    settings.tls = options.TakeFlag("ssl", !settings.tlsCa.empty() || !settings.tlsCert.empty());
    settings.verify = options.TakeFlag("ssl_verify", true);
    options.RefuseRest();
}

Settings SettingsOf(const QXDataSource& dataSource, Options& options) {
    Settings settings;
    TakeOptions(options, settings);
    settings.host = Narrow(dataSource.server, "server");
    if (settings.host.empty()) {
        // The client library takes "localhost" for the local socket, whatever the port.
        settings.host = dataSource.port == 0 ? "localhost" : "127.0.0.1";
    }
    settings.port = static_cast<unsigned>(PortOf(dataSource));
    if (!dataSource.trusted) {
        settings.user = Narrow(dataSource.user, "user");
        settings.password = Narrow(dataSource.password, "password");
    }
    return settings;
}

void SetText(MYSQL* handle, mysql_option option, const std::string& value) {
    if (!value.empty()) {
        mysql_options(handle, option, value.c_str());
    }
}

void Configure(MySqlConnection::Session& session, const Settings& settings) {
    MYSQL* handle = session;
    session.options(MYSQL_SET_CHARSET_NAME, "utf8mb4");
    session.options(MYSQL_OPT_CONNECT_TIMEOUT, settings.connectSeconds);
    // A server could otherwise ask for any file that this process can read.
    session.options(MYSQL_OPT_LOCAL_INFILE, 0U);
    session.options(MYSQL_REPORT_DATA_TRUNCATION, true);
    if (settings.readSeconds > 0) {
        session.options(MYSQL_OPT_READ_TIMEOUT, settings.readSeconds);
        session.options(MYSQL_OPT_WRITE_TIMEOUT, settings.readSeconds);
    }
    if (settings.compress) {
        session.options(MYSQL_OPT_COMPRESS);
    }
    if (settings.tls) {
        session.options(MYSQL_OPT_SSL_ENFORCE, true);
        session.options(MYSQL_OPT_SSL_VERIFY_SERVER_CERT, settings.verify);
    }
    SetText(handle, MYSQL_OPT_SSL_CA, settings.tlsCa);
    SetText(handle, MYSQL_OPT_SSL_CERT, settings.tlsCert);
    SetText(handle, MYSQL_OPT_SSL_KEY, settings.tlsKey);
    SetText(handle, MARIADB_OPT_UNIXSOCKET, settings.socket);
}

std::unique_ptr<MySqlConnection::Session> Connect(const Settings& settings) {
    auto session = std::make_unique<MySqlConnection::Session>(nullptr);
    const auto orNull = [](const std::string& text) {
        return text.empty() ? nullptr : text.c_str();
    };
    try {
        Configure(*session, settings);
        // The registry chooses the database for each lease.
        session->connect(settings.host.c_str(), orNull(settings.user), orNull(settings.password),
                         nullptr, settings.port);
    } catch (const Poco::Exception&) {
        throw MySqlError(static_cast<MYSQL*>(*session));
    }
    return session;
}

/// Logs in as quickly as can be, to end a statement.
std::unique_ptr<MySqlConnection::Session> ConnectBriefly(Settings settings) {
    settings.connectSeconds = std::min(settings.connectSeconds, kBriefSeconds);
    settings.readSeconds = kBriefSeconds;
    return Connect(settings);
}

std::unique_ptr<Connection> Open(const Settings& settings) {
    return std::make_unique<MySqlConnection>(Connect(settings), settings.statementTimeout,
                                             [settings] { return ConnectBriefly(settings); });
}

std::shared_ptr<ConnectionPool> MakePool(const QXDataSource& dataSource) {
    static const bool registered = (Poco::Data::MySQL::Connector::registerConnector(), true);
    static_cast<void>(registered);
    Options options(dataSource.options);
    const PoolLimits limits = options.TakePoolLimits();
    const Settings settings = SettingsOf(dataSource, options);
    return std::make_shared<ConnectionPool>([settings] { return Open(settings); }, limits);
}

}  // namespace

const Database kDatabase{CQXDB_DRIVER_MYSQL, MakePool,
                         [](CQXDB_DSType_ENUM type) noexcept {
                             return type == CQXDB_DS_MYSQL || type == CQXDB_DS_MARIADB;
                         },
                         true};

}  // namespace CQXDB::adapter::mysql
