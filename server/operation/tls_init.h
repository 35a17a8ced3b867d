// Certificates for operators who have none.
#pragma once

#include <iosfwd>

#include "server/operation/command_line.h"

namespace CQXSERVER::operation {

/// Makes an authority in the data folder, or takes the one there to renew, and a certificate for
/// command.hosts; tells on `out` what clients need. Throws OperatorError.
void InitTls(const CommandLine& command, std::ostream& out);

}  // namespace CQXSERVER::operation
