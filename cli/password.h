// Where a password comes from.
#pragma once

#include <string>

namespace CQXCLI {

/// True when a file or the variable QXDB_PASSWORD has a password to offer.
bool PasswordIsAtHand(const std::string& file);

/// The first line of `file`; without a file, the variable QXDB_PASSWORD; without that, what is
/// typed at the terminal, unseen, after `prompt`. Throws CliError (kWrongUsage) when there is none
/// of them.
std::string FindPassword(const std::string& file, const std::string& prompt);

}  // namespace CQXCLI
