// Whose session a command belongs to, told by the beginning of its body.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace CQXBASE {

/// The session token of a command or command list, of whose plain body only the first bytes need be
/// there. Nothing when they end before the token does, or are no such body.
std::optional<std::wstring> CommandToken(const char* body, std::size_t length, bool littleEndian);

}  // namespace CQXBASE
