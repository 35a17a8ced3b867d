// What an operator does to accounts, with or without a running server.
#pragma once

#include "server/operation/command_line.h"

namespace CQXSERVER::operation {

/// Runs any action but Serve. Throws OperatorError.
void RunUserCommand(const CommandLine& command);

}  // namespace CQXSERVER::operation
