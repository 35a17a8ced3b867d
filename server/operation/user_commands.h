// What an operator does to accounts, with or without a running server.
#pragma once

#include "server/operation/command_line.h"

namespace CQXSERVER::operation {

/// Runs an action on accounts. Throws OperatorError.
void RunUserCommand(const CommandLine& command);

}  // namespace CQXSERVER::operation
