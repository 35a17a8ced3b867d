// Who may come in.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include <qxdb/QXDataSource.h>

#include "messages/session_records.h"
#include "server/network/request.h"
#include "server/sessions/account_store.h"
#include "server/sessions/login_throttle.h"
#include "server/sessions/session_table.h"

namespace CQXSERVER::sessions {

/// What a login string says: "user|~|password", and maybe "|~|database".
struct Credentials {
    std::string user;
    std::string password;
    std::string database;  ///< "" when not named

    static std::optional<Credentials> Parse(const std::wstring& login);
};

/// The database that a login names, "" for the account's usual one: its name and description.
/// Throws RequestRefused for one that the account may not use.
struct NamedDatabase {
    std::string name;
    const CQXDB::QXDataSource& dataSource;
};
using DatabaseOfLogin =
    std::function<NamedDatabase(const std::string& wanted, const Account& account)>;

/// Serves logins. Checking a password takes about 0.1 s of a core, so its thread should do nothing
/// else. Thread-safe; everything it is given is borrowed.
class LoginService {
  public:
    LoginService(AccountStore& accounts, SessionTable& sessions, LoginThrottle& throttle,
                 DatabaseOfLogin databaseOf, const network::ReplyEncoder& encoder);

    /// A session reply under the request's own code, a refused login's too. Where a password is to
    /// be checked it is left for later, to be done by Crew::Logins.
    network::Outcome Login(const network::Request& request, const std::wstring& login);

    /// The account of a session. Throws RequestRefused when it is no longer what logged in.
    Account AccountOf(const Session& session);

  private:
    struct Attempt {
        std::uint32_t code;
        bool enciphered;
        network::ConnectionId connection;
        std::string address;
        std::string oldToken;
        Credentials credentials;
    };

    network::Outcome Check(const Attempt& attempt);
    CQXBASE::QXSesInfo Admit(const Attempt& attempt);
    Account Authenticate(const Attempt& attempt);
    std::wstring Info(const Attempt& attempt, const Account& account) const;
    network::Outcome Reply(const Attempt& attempt, CQXBASE::QXSesInfo record) const;
    network::Outcome Refuse(const Attempt& attempt, ServerError error) const;

    AccountStore& accounts_;
    SessionTable& sessions_;
    LoginThrottle& throttle_;
    const DatabaseOfLogin databaseOf_;
    const network::ReplyEncoder& encoder_;
    /// Checked for unknown users, who then take as long as known ones.
    const std::string nobodysHash_;
};

}  // namespace CQXSERVER::sessions
