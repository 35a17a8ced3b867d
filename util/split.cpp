#include "util/split.h"

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <limits>

namespace CQXBASE {

std::vector<std::wstring> Split(std::wstring_view text, std::wstring_view separator) {
    std::vector<std::wstring> pieces;
    for (auto at = text.find(separator); at != text.npos; at = text.find(separator)) {
        pieces.emplace_back(text.substr(0, at));
        text.remove_prefix(at + separator.size());
    }
    if (!text.empty()) {
        pieces.emplace_back(text);
    }
    return pieces;
}

long PieceToLong(const std::vector<std::wstring>& pieces, std::size_t index) noexcept {
    using Range = std::numeric_limits<std::int32_t>;
    if (index >= pieces.size()) {
        return 0;
    }
    const long long value = std::wcstoll(pieces[index].c_str(), nullptr, 10);
    return static_cast<long>(std::clamp<long long>(value, Range::min(), Range::max()));
}

}  // namespace CQXBASE
