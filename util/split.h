// The one splitting rule of server addresses and of joined reply fields.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace CQXBASE {

/// Pieces of `text` between occurrences of `separator`. Empty pieces between two separators are
/// kept; what follows the last separator is a piece only when it is not empty. `separator` is not
/// empty.
std::vector<std::wstring> Split(std::wstring_view text, std::wstring_view separator);

/// Leading decimal digits of piece `index` as a number, after blanks and a sign: 0 when there is no
/// such piece or it has no digits. Saturates at the ends of the 32-bit range.
long PieceToLong(const std::vector<std::wstring>& pieces, std::size_t index) noexcept;

}  // namespace CQXBASE
