#include "cli/session.h"

#include "cli/exit_status.h"
#include "cli/password.h"
#include "util/text.h"

namespace CQXCLI {

using CQXBASE::Utf8ToWide;
using CQXBASE::WideToUtf8;
using CQXDB::QXDataSource;

namespace {

constexpr std::wstring_view kLoginSeparator = L"|~|";

Answer MakeAnswer(long code, const std::wstring& text) {
    return {code, WideToUtf8(text)};
}

[[noreturn]] void RefuseConnection(const std::string& what, const Answer& answer) {
    throw CliError(kNoConnection, what + ": " + ErrorText(answer));
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

}  // namespace

std::string ErrorText(const Answer& answer) {
    return "error " + std::to_string(answer.code) + ": " + answer.text;
}

Session::Session(const ConnectionOptions& options) {
    if (options.server.empty()) {
        OpenLocal(options);
    } else {
        OpenRemote(options);
    }
}

Session::~Session() {
    if (!server_.host.empty()) {
        agent_.VirLogout(Utf8ToWide(server_.host), server_.port, proxy_, login_);
    }
}

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
    login_ = LoginText(options.user, FindPassword(options.passwordFile, prompt), options.database);
    const std::wstring host = Utf8ToWide(server.host);
    agent_.init(host + L':' + std::to_wstring(server.port), proxy_, std::wstring(), false);
    std::wstring token;
    CQXDB::CQXDB_DSType_ENUM type = CQXDB::CQXDB_DS_EMBEDDED;
    CQXDB::CQXDB_DriverType_ENUM driver = CQXDB::CQXDB_DRIVER_DEFAULT;
    if (!agent_.VirLogin(host, server.port, proxy_, login_, token, type, driver)) {
        RefuseConnection("no session on the server " + options.server,
                         MakeAnswer(agent_.errCode_, agent_.errText_));
    }
    server_ = server;
    database_ = Utf8ToWide(options.database);
    dialect_ = &ChosenDialect(options.dialect, type);
}

std::string Session::Database() const {
    return WideToUtf8(database_.empty() ? agent_.DefaultDB() : database_);
}

Answer Session::Query(CQXDB::QXCommand& command, CQXDB::QXRecordset& rs, long pageSize, long page) {
    long code = 0;
    std::wstring text;
    agent_.OpenQuery(code, text, command, rs, pageSize, page, database_);
    return MakeAnswer(code, text);
}

Answer Session::Batch(CQXDB::QXCommandList& list, CQXDB::QXRsList& results) {
    long code = 0;
    std::wstring text;
    agent_.BatchQry(code, text, list, results, database_);
    return MakeAnswer(code, text);
}

Answer Session::Execute(CQXDB::QXCommandList& list) {
    long code = 0;
    std::wstring text;
    agent_.Execute(code, text, list, database_);
    return MakeAnswer(code, text);
}

Answer Session::Switch(const std::string& database) {
    const std::wstring before = database_;
    const bool keeps = dialect_->Is(Dialect::Family::MySql);
    if (server_.host.empty() && !keeps) {
        // An idle connection to the database left behind would keep it from being dropped. MySQL
        // goes to another one with the same connection, and keeps its settings.
        agent_.CloseConn();
    }
    database_ = Utf8ToWide(database);
    Answer answer = Ask();
    if (!answer.Ok()) {
        database_ = before;
    }
    return answer;
}

Answer Session::Probe() {
    if (server_.host.empty()) {
        return Ask();
    }
    agent_.errCode_ = 0;
    agent_.errText_.clear();
    if (agent_.Shakehand()) {
        return {};
    }
    return agent_.errCode_ != 0 ? MakeAnswer(agent_.errCode_, agent_.errText_)
                                : Answer{kFailed, "the server answers the handshake with an error"};
}

Answer Session::Ask() {
    CQXDB::QXCommand command(dialect_->Is(Dialect::Family::Oracle) ? L"SELECT 1 FROM DUAL"
                                                                   : L"SELECT 1");
    CQXDB::QXRecordset rs;
    return Query(command, rs);
}

}  // namespace CQXCLI
