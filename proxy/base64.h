// Base64 with the standard alphabet and padding, as proxy credentials use it.
#pragma once

#include <string>

namespace CQXBASE {

/// A line break, "\r\n", follows every 76 characters, also at the very end; the last group when it
/// is padded is not counted. No bytes, or a length that is not positive, give "".
std::string Base64Encode(const unsigned char* bytes, int length);

/// Decodes `length` characters and adds the number of bytes produced to `outLength`, which the
/// caller sets to 0 first. Line breaks between groups are skipped. Nothing is refused: a character
/// that is not of the alphabet counts as value 0, and the end of the text as padding.
std::string Base64Decode(const char* text, int length, int& outLength);

}  // namespace CQXBASE
