// What serves requests, put together from the operator's options.
#pragma once

#include "server/account_store.h"
#include "server/byte_budget.h"
#include "server/clock.h"
#include "server/command_service.h"
#include "server/database_registry.h"
#include "server/login_service.h"
#include "server/login_throttle.h"
#include "server/reply_frame.h"
#include "server/request_handler.h"
#include "server/server_options.h"
#include "server/session_table.h"

namespace CQXSERVER {

/// Makes the data folder, the account store and the default database where they are missing. Throws
/// OperatorError. Members stand in the order in which they need each other.
struct Services {
    Services(const ServerOptions& options, const Clock& clock);
    Services(const Services&) = delete;
    Services& operator=(const Services&) = delete;

    ByteBudget buffers;
    ReplyEncoder encoder;
    AccountStore accounts;
    DatabaseRegistry databases;
    SessionTable sessions;
    LoginThrottle throttle;
    LoginService logins;
    CommandService commands;
    RequestHandler handler;
};

/// The path of the account store in a data folder, which is made, for its owner only, when missing.
std::string AccountStorePath(const std::string& dataDir);

}  // namespace CQXSERVER
