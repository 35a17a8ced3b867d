// The operator's choices from a TOML file.
#pragma once

#include <string>
#include <vector>

#include "server/server_options.h"

namespace CQXSERVER::operation {

/// Sets in `options` what the file says and leaves the rest. A relative path in the file counts
/// from the file's folder. Throws OperatorError, with file and line, for what can't be read, an
/// unknown key or a value out of range. Returns sentences that warn of what is there.
std::vector<std::string> ReadConfigFile(const std::string& path, ServerOptions& options);

/// Whether a database's URL has a password in it.
bool HoldsPassword(const std::string& url);

/// Adds a database, or gives the one of that name a new URL.
void SetDatabase(ServerOptions& options, const std::string& name, const std::string& url);

}  // namespace CQXSERVER::operation
