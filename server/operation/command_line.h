// The program's arguments.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "server/database_names.h"
#include "server/server_options.h"

namespace CQXSERVER::operation {

enum class Action { Serve, AddUser, RemoveUser, ListUsers, SetPassword, SetDatabases, InitTls };

struct CommandLine {
    Action action = Action::Serve;
    ServerOptions options;           ///< defaults, then the configuration file, then the arguments
    std::string user;                ///< the account that an action is about
    AllowedDatabases databases;      ///< what the account may use
    std::vector<std::string> hosts;  ///< that a certificate is to be made for
    bool renew = false;              ///< with the authority that is there
    std::vector<std::string> warnings;  ///< sentences about the arguments and the file
    bool allowCoreDumps = false;
};

/// Reads the arguments and the configuration file that they name. When nothing is to be done any
/// more (help was asked for, or the arguments are wrong), the text is out on standard output or
/// error and `exitStatus` is set. Throws OperatorError for a bad configuration file.
std::optional<CommandLine> ParseCommandLine(int argc, const char* const* argv, int& exitStatus);

}  // namespace CQXSERVER::operation
