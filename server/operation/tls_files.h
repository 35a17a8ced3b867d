// The server's certificate and whom it trusts.
#pragma once

#include "server/server_options.h"
#include "tls/context.h"

namespace CQXSERVER::operation {

CQXBASE::tls::Context LoadTls(const ServerOptions& options);

}  // namespace CQXSERVER::operation
