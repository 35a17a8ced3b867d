// Texts from the module's string table.
#pragma once

#include <string>

namespace CQXBASE::platform::text {

/// String `id` in the calling thread's language; `fallback` when the module has no such string, as
/// on systems without string tables.
std::wstring TableString(unsigned id, const wchar_t* fallback);

}  // namespace CQXBASE::platform::text
