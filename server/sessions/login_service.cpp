#include "server/sessions/login_service.h"

#include <utility>

#include "messages/type_codes.h"
#include "server/log.h"
#include "server/server_error.h"
#include "server/sessions/password_hash.h"
#include "util/split.h"
#include "util/text.h"

namespace CQXSERVER::sessions {
namespace {

using CQXBASE::QXSesInfo;

constexpr std::size_t kLongestLogin = 4096;  ///< characters

/// Made once a process, since it takes its time.
const std::string& NobodysHash() {
    static const std::string hash = HashPassword("");
    return hash;
}

std::wstring KindName(CQXDB::CQXDB_DSType_ENUM type) {
    switch (type) {
        case CQXDB::CQXDB_DS_EMBEDDED:
        case CQXDB::CQXDB_DS_SQLITE:
            return L"SQLite";
        case CQXDB::CQXDB_DS_POSTGRESQL:
            return L"PostgreSQL";
        case CQXDB::CQXDB_DS_MYSQL:
            return L"MySQL";
        case CQXDB::CQXDB_DS_MARIADB:
            return L"MariaDB";
        case CQXDB::CQXDB_DS_SQLSERVER:
            return L"SQL Server";
        case CQXDB::CQXDB_DS_ORACLE:
            return L"Oracle";
        case CQXDB::CQXDB_DS_ODBC:
            break;
    }
    return L"ODBC";
}

}  // namespace

std::optional<Credentials> Credentials::Parse(const std::wstring& login) {
    const std::vector<std::wstring> pieces = CQXBASE::Split(login, L"|~|");
    if (login.size() > kLongestLogin || pieces.size() < 2 || pieces.size() > 3 ||
        pieces[0].empty()) {
        return std::nullopt;
    }
    return Credentials{CQXBASE::WideToUtf8(pieces[0]), CQXBASE::WideToUtf8(pieces[1]),
                       pieces.size() == 3 ? CQXBASE::WideToUtf8(pieces[2]) : std::string()};
}

LoginService::LoginService(AccountStore& accounts, SessionTable& sessions, LoginThrottle& throttle,
                           DatabaseOfLogin databaseOf, const network::ReplyEncoder& encoder)
    : accounts_(accounts),
      sessions_(sessions),
      throttle_(throttle),
      databaseOf_(std::move(databaseOf)),
      encoder_(encoder),
      nobodysHash_(NobodysHash()) {}

network::Outcome LoginService::Login(const network::Request& request, const std::wstring& login) {
    std::optional<Credentials> credentials = Credentials::Parse(login);
    const Attempt attempt{request.Code(),     request.Enciphered(),
                          request.connection, request.address,
                          request.token,      credentials.value_or(Credentials{})};
    if (!credentials) {
        return Refuse(attempt, ServerError::MalformedLogin);
    }
    LoginThrottle::Turn turn{};
    try {
        turn = throttle_.Admit(attempt.credentials.user, attempt.address);
    } catch (const RequestRefused& e) {
        return Refuse(attempt, e.Error());
    }
    // An account that is known at an address has a lane of its own: strangers there don't fill it.
    const std::string lane =
        turn.known ? attempt.address + '\n' + attempt.credentials.user : attempt.address;
    return {std::nullopt,
            request.token,
            [this, attempt] { return Check(attempt); },
            {network::Crew::Logins, lane, turn.known},
            turn.wait};
}

Account LoginService::AccountOf(const Session& session) {
    std::optional<Account> account = accounts_.Find(session.account);
    if (!account || account->revision != session.accountRevision) {
        sessions_.End(session.token);
        throw RequestRefused(ServerError::AccountChanged);
    }
    return *std::move(account);
}

network::Outcome LoginService::Check(const Attempt& attempt) {
    try {
        return Reply(attempt, Admit(attempt));
    } catch (const RequestRefused& e) {
        return Refuse(attempt, e.Error());
    }
}

QXSesInfo LoginService::Admit(const Attempt& attempt) {
    const Account account = Authenticate(attempt);
    QXSesInfo record;
    record.info = Info(attempt, account);
    record.token = CQXBASE::Utf8ToWide(sessions_.Open(account, attempt.credentials.database));
    LogInformation("connection ", attempt.connection, ": '", account.name, "' logged in from ",
                   attempt.address);
    return record;
}

Account LoginService::Authenticate(const Attempt& attempt) {
    const Credentials& given = attempt.credentials;
    std::optional<Account> account = accounts_.Find(given.user);
    const bool matches =
        PasswordMatches(given.password, account ? account->passwordHash : nobodysHash_);
    if (!account || !matches) {
        throttle_.Failed(given.user, attempt.address);
        // An unknown name may be a password typed into the wrong field: it is not logged.
        LogWarning("connection ", attempt.connection, ": wrong password for ",
                   account ? "'" + account->name + "'" : std::string("an unknown user"), " from ",
                   attempt.address);
        throw RequestRefused(ServerError::WrongLogin);
    }
    throttle_.Succeeded(given.user, attempt.address);
    return *std::move(account);
}

std::wstring LoginService::Info(const Attempt& attempt, const Account& account) const {
    const auto& [name, dataSource] = databaseOf_(attempt.credentials.database, account);
    if (attempt.code == CQXBASE::kVirtualLogin) {
        return std::to_wstring(dataSource.type) + L"|~|" + std::to_wstring(dataSource.driver);
    }
    return L"qxdbserver " + CQXBASE::Utf8ToWide(QXDB_VERSION) + L"; database " +
           CQXBASE::Utf8ToWide(name) + L" (" + KindName(dataSource.type) + L")";
}

network::Outcome LoginService::Reply(const Attempt& attempt, QXSesInfo record) const {
    network::Outcome outcome;
    outcome.token = record.token.empty() ? attempt.oldToken : CQXBASE::WideToUtf8(record.token);
    outcome.reply = encoder_.Encode(attempt.code, record, attempt.enciphered);
    return outcome;
}

network::Outcome LoginService::Refuse(const Attempt& attempt, ServerError error) const {
    QXSesInfo record;
    record.code = WireCode(error);
    record.text = Text(error);
    return Reply(attempt, std::move(record));
}

}  // namespace CQXSERVER::sessions
