// The part of Session that opens the connection.
#include <algorithm>

#include "cli/exit_status.h"
#include "cli/password.h"
#include "cli/session.h"
#include "util/text.h"

namespace CQXCLI {

using CQXBASE::Utf8ToWide;
using CQXBASE::WideToUtf8;
using CQXDB::QXDataSource;

namespace {

constexpr std::wstring_view kLoginSeparator = L"|~|";

[[noreturn]] void RefuseConnection(const std::string& what, const Answer& answer) {
    const std::string hint = TlsHint(answer.code);
    throw CliError(kNoConnection,
                   what + ": " + ErrorText(answer) + (hint.empty() ? "" : "\n    " + hint));
}

QXDataSource ReadUrl(const std::string& url) {
    QXDataSource source;
    std::wstring error;
    if (!QXDataSource::FromUrl(Utf8ToWide(url), source, error)) {
        throw CliError(kWrongUsage, "--db: " + WideToUtf8(error));
    }
    return source;
}

/// "user|~|password", or "user|~|password|~|database".
std::wstring LoginText(const std::string& user, const std::string& password,
                       const std::string& database) {
    std::wstring login;
    for (const std::string* piece : {&user, &password, &database}) {
        const std::wstring text = Utf8ToWide(*piece);
        if (text.find(kLoginSeparator) != std::wstring::npos) {
            throw CliError(kWrongUsage, "a user, password or database can't hold \"|~|\"");
        }
        if (piece != &database || !text.empty()) {
            login.append(piece == &user ? std::wstring_view() : kLoginSeparator).append(text);
        }
    }
    return login;
}

const Dialect& ChosenDialect(const std::string& name, CQXDB::CQXDB_DSType_ENUM type) {
    const Dialect* named = FindDialect(name);
    return named != nullptr ? *named : DialectOf(type);
}

std::uint32_t Milliseconds(long seconds) {
    return static_cast<std::uint32_t>(seconds) * 1000U;
}

}  // namespace

void Session::OpenLocal(const ConnectionOptions& options) {
    QXDataSource source = ReadUrl(options.url);
    if (!options.database.empty()) {
        source.database = Utf8ToWide(options.database);
    }
    const bool offered = !source.user.empty() && PasswordIsAtHand(options.passwordFile);
    if (options.askPassword || (offered && source.password.empty())) {
        source.password = Utf8ToWide(FindPassword(options.passwordFile, "Password: "));
    }
    canSwitch_ = source.connectionString.empty() && source.dsn.empty();
    dialect_ = &ChosenDialect(options.dialect, source.type);
    const Answer answer = CheckLocal(source);
    if (!answer.Ok()) {
        RefuseConnection("no connection to the database", answer);
    }
}

Answer Session::CheckLocal(const QXDataSource& source) {
    if (!source.options.empty()) {
        agent_.initDB(source);
        return Ask();
    }
    const bool connects =
        agent_.CanConnect(source.type, source.server, source.port, source.database, source.user,
                          source.password, source.trusted, source.driver, source.driverName,
                          source.dsn, source.connectionString, source.extra);
    return connects ? Answer() : MakeAnswer(agent_.errCode_, agent_.errText_);
}

void Session::OpenRemote(const ConnectionOptions& options) {
    const ServerAddress server = ParseServer(options.server);
    proxy_ = ParseProxy(options.proxy);
    const std::string prompt = "Password of " + options.user + " at " + options.server + ": ";
    const std::string password =
        options.password.empty() ? FindPassword(options.passwordFile, prompt) : options.password;
    login_ = LoginText(options.user, password, options.database);
    const std::wstring host = Utf8ToWide(server.host);
    agent_.init(host + L':' + std::to_wstring(server.port), proxy_, std::wstring(), false);
    constexpr long kShortWait = 60;  // seconds
    shortWaitMs_ = Milliseconds(options.timeout < 0 ? kShortWait : options.timeout);
    longWaitMs_ = Milliseconds(std::max(0L, options.timeout));
    agent_.SetTls(MakeTlsInfo(options.tls));
    agent_.SetReplyTimeout(shortWaitMs_);
    agent_.SetMaxReplyBytes(static_cast<std::uint64_t>(options.maxReply) << 20U);
    std::wstring token;
    CQXDB::CQXDB_DSType_ENUM type = CQXDB::CQXDB_DS_EMBEDDED;
    CQXDB::CQXDB_DriverType_ENUM driver = CQXDB::CQXDB_DRIVER_DEFAULT;
    if (!agent_.VirLogin(host, server.port, proxy_, login_, token, type, driver)) {
        RefuseConnection("no session on the server " + options.server,
                         MakeAnswer(agent_.errCode_, agent_.errText_));
    }
    agent_.SetReplyTimeout(longWaitMs_);
    server_ = server;
    database_ = Utf8ToWide(options.database);
    dialect_ = &ChosenDialect(options.dialect, type);
}

}  // namespace CQXCLI
