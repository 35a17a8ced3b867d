// What serves requests, put together from the operator's options.
#pragma once

#include "server/byte_budget.h"
#include "server/clock.h"
#include "server/network/reply_frame.h"
#include "server/operation/data_folder.h"
#include "server/requests/canceller.h"
#include "server/requests/command_service.h"
#include "server/requests/database_registry.h"
#include "server/requests/request_handler.h"
#include "server/requests/running_commands.h"
#include "server/requests/transactions.h"
#include "server/server_options.h"
#include "server/sessions/account_store.h"
#include "server/sessions/login_service.h"
#include "server/sessions/login_throttle.h"
#include "server/sessions/session_table.h"

namespace CQXSERVER::operation {

/// Makes the data folder, the account store and the default database where they are missing, and
/// keeps other servers out of the folder. Throws OperatorError. Members stand in the order in which
/// they need each other.
struct Services {
    Services(const ServerOptions& options, const Clock& clock);
    Services(const Services&) = delete;
    Services& operator=(const Services&) = delete;

    DataFolderLock folder;
    ByteBudget buffers;
    network::ReplyEncoder encoder;
    sessions::AccountStore accounts;
    requests::DatabaseRegistry databases;
    sessions::SessionTable sessions;
    sessions::LoginThrottle throttle;
    sessions::LoginService logins;
    requests::Canceller canceller;
    requests::RunningCommands running;
    requests::Transactions transactions;
    requests::CommandService commands;
    requests::RequestHandler handler;
};

}  // namespace CQXSERVER::operation
