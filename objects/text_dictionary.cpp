#include "objects/text_dictionary.h"

#include <functional>

namespace CQXDB {
namespace {

constexpr std::size_t kSlots = 4 * TextDictionary::kMaxEntries;
constexpr std::size_t kFewestRows = 64;
constexpr std::size_t kRowsPerEntry = 8;

}  // namespace

bool TextDictionary::Build(const QXBuffer<std::uint32_t>& ends, const QXBuffer<char>& heap) {
    if (ends.size() < kFewestRows) {
        return false;
    }
    slots_.assign(kSlots, 0);
    codes_.Resize(ends.size());
    std::uint32_t start = 0;
    for (std::size_t row = 0; row < ends.size(); ++row) {
        codes_[row] = CodeOf({heap.data() + start, ends[row] - start});
        start = ends[row];
        if (entries_.size() > kRowsPerEntry + row / kRowsPerEntry ||
            entries_.size() > kMaxEntries) {
            return false;
        }
    }
    return true;
}

std::uint32_t TextDictionary::CodeOf(std::string_view text) {
    std::size_t slot = std::hash<std::string_view>()(text) % kSlots;
    while (slots_[slot] != 0) {
        const std::size_t entry = slots_[slot] - 1U;
        if (entries_[entry] == text) {
            return static_cast<std::uint32_t>(entry);
        }
        slot = (slot + 1) % kSlots;
    }
    entries_.push_back(text);
    slots_[slot] = static_cast<std::uint16_t>(entries_.size());
    return static_cast<std::uint32_t>(entries_.size() - 1);
}

}  // namespace CQXDB
