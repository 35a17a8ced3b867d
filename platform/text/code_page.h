// Conversion by the platform's code pages.
#pragma once

#include <string>

namespace CQXBASE::platform::text {

/// True for a code page that is UTF-8 and for which the platform has no converter of its own.
bool NeedsUtf8Codec(unsigned codePage) noexcept;

/// Converts NUL-terminated text. What can't be converted becomes the platform's replacement
/// character; an unknown code page gives "".
std::wstring Widen(const char* text, unsigned codePage);
std::string Narrow(const wchar_t* text, unsigned codePage);

}  // namespace CQXBASE::platform::text
