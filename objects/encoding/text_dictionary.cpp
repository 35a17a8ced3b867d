#include "objects/encoding/text_dictionary.h"

#include <functional>

namespace CQXDB::encoding {
namespace {

constexpr std::size_t kSlots = 4 * TextDictionary::kMaxEntries;
constexpr std::size_t kFewestRows = 64;
constexpr std::size_t kFewEntries = 512;  ///< taken before rows are asked how often they repeat
constexpr std::size_t kRowsPerEntry = 8;
constexpr std::size_t kMaxProbes = 64;  ///< more only when somebody chose texts that collide

}  // namespace

bool TextDictionary::Build(const QXBuffer<std::uint32_t>& ends, const QXBuffer<char>& heap) {
    if (ends.size() < kFewestRows) {
        return false;
    }
    slots_.assign(kSlots, 0);
    codes_.Resize(ends.size());
    std::uint32_t start = 0;
    for (std::size_t row = 0; row < ends.size(); ++row) {
        const bool found = CodeOf({heap.data() + start, ends[row] - start}, codes_[row]);
        start = ends[row];
        if (!found || entries_.size() > kFewEntries + row / kRowsPerEntry ||
            entries_.size() > kMaxEntries) {
            return false;
        }
    }
    return true;
}

bool TextDictionary::CodeOf(std::string_view text, std::uint32_t& code) {
    const std::size_t home = std::hash<std::string_view>()(text);
    for (std::size_t probe = 0; probe < kMaxProbes; ++probe) {
        std::uint16_t& slot = slots_[(home + probe) % kSlots];
        if (slot == 0) {
            entries_.push_back(text);
            slot = static_cast<std::uint16_t>(entries_.size());
        }
        code = slot - 1U;
        if (entries_[code] == text) {
            return true;
        }
    }
    return false;
}

}  // namespace CQXDB::encoding
