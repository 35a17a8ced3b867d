// The names by which databases go in options, accounts and requests.
#pragma once

#include <string>
#include <vector>

namespace CQXSERVER {

/// True for 1 to 64 letters, digits, '_', '-' and '.'.
bool IsDatabaseName(const std::string& name) noexcept;

/// Names between commas; "*" and "" stand for all, which is an empty list.
std::vector<std::string> SplitDatabases(const std::string& text);
/// The reverse: "*" for an empty list.
std::string JoinDatabases(const std::vector<std::string>& databases);

}  // namespace CQXSERVER
