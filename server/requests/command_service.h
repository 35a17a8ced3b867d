// Commands, queries and batches of sessions.
#pragma once

#include <string>

#include <qxdb/QXCommandList.h>

#include "messages/message_holder.h"
#include "messages/transaction_fields.h"
#include "server/network/request.h"
#include "server/requests/database_registry.h"
#include "server/requests/database_work.h"
#include "server/requests/running_commands.h"
#include "server/requests/transactions.h"
#include "server/sessions/login_service.h"
#include "server/sessions/session_table.h"

namespace CQXSERVER::requests {

/// Thread-safe; everything it is given is borrowed.
class CommandService {
  public:
    CommandService(sessions::LoginService& logins, sessions::SessionTable& sessions,
                   const DatabaseRegistry& databases, RunningCommands& running,
                   Transactions& transactions, const network::ReplyEncoder& encoder,
                   std::size_t maxResultBytes);

    /// Runs what a decoded request asks for that carries a command or a list. A statement that
    /// fails is answered with the database's own number and text. Throws RequestRefused.
    network::Outcome Serve(const network::Request& request, const CQXBASE::MessageHolder& message);

    /// Rolls the session's transactions back.
    void EndSession(const std::string& token) noexcept { transactions_.EndSession(token); }

  private:
    /// Runs `work`, unless the commands belong to a transaction that is over.
    template <class Commands, class Work>
    DatabaseAnswer Within(const network::Request& request, const Caller& caller,
                          const Commands& commands, Work work);
    /// What isn't the command's statement: transactions, cursors, descriptions.
    network::Outcome Control(const network::Request& request, CQXDB::QXCommand& command,
                             CQXBASE::TransactionVerb verb);
    network::Outcome Begin(const network::Request& request, const TransactionOwner& owner,
                           const Caller& caller, CQXDB::QXCommand& command);
    DatabaseAnswer End(const TransactionOwner& owner, const CQXDB::QXCommand& command,
                       CQXBASE::TransactionVerb verb);
    network::Outcome Rows(const network::Request& request, const Caller& caller,
                          CQXDB::QXCommand& command, CQXBASE::TransactionVerb verb);
    template <class Commands>
    network::Outcome ServeAny(const network::Request& request, Commands& commands);
    /// Checks the token that the commands carry, puts the data source to use in the place of
    /// theirs, and tells for whom they run.
    template <class Commands>
    Caller Authorize(const network::Request& request, Commands& commands);
    network::Outcome Batch(const network::Request& request, CQXDB::QXCommandList& list);
    network::Outcome Reply(const network::Request& request, const DatabaseAnswer& answer,
                           CQXBASE::QXIOBase& record, const CQXDB::QXCommandBase& commands) const;

    sessions::LoginService& logins_;
    sessions::SessionTable& sessions_;
    const DatabaseRegistry& databases_;
    RunningCommands& running_;
    Transactions& transactions_;
    const network::ReplyEncoder& encoder_;
    const std::size_t maxResultBytes_;
};

}  // namespace CQXSERVER::requests
