// Rows of bytes out of a block that a peer sent.
#include <string_view>

#include <qxdb/QXColumn.h>

#include "objects/encoding/bytes_codec.h"
#include "objects/encoding/number_codec.h"

namespace CQXDB::encoding {
namespace {

/// Turns lengths into ends. The sum may be beyond 32 bits; then the ends mean nothing.
std::uint64_t SumUp(std::uint32_t* lengths, std::size_t count) {
    std::uint64_t end = 0;
    for (std::size_t i = 0; i < count; ++i) {
        end += lengths[i];
        lengths[i] = static_cast<std::uint32_t>(end);
    }
    return end;
}

/// Entries as a peer sent them, where they stand in the block.
struct Entries {
    const char* bytes = nullptr;
    RowEnds ends;

    std::string_view At(std::size_t index) const noexcept {
        const std::uint32_t start = index == 0 ? 0 : ends[index - 1];
        return {bytes + start, ends[index] - start};
    }
    bool Get(PlainReader& in, std::uint64_t count) {
        ends.Resize(count);
        if (!GetNumbers(in, ends.data(), count)) {
            return false;
        }
        bytes = in.Take(SumUp(ends.data(), count));
        return bytes != nullptr;
    }
};

/// Puts the entries in place of their numbers in `ends`.
bool Expand(const Entries& entries, RowEnds& ends, QXBuffer<char>& heap, ExpansionBudget& budget) {
    std::uint64_t size = 0;
    for (const std::uint32_t code : ends) {
        if (code >= entries.ends.size()) {
            return false;
        }
        size += entries.At(code).size();
    }
    if (size > QXColumn::kMaxBytes || !budget.Take(size)) {
        return false;
    }
    heap.Reserve(size);
    for (std::size_t row = 0; row < ends.size(); ++row) {
        const std::string_view entry = entries.At(ends[row]);
        heap.Append(entry.data(), entry.size());
        ends[row] = static_cast<std::uint32_t>(heap.size());
    }
    return true;
}

bool GetDictionary(PlainReader& in, RowEnds& ends, QXBuffer<char>& heap, ExpansionBudget& budget) {
    std::uint64_t count = 0;
    Entries entries;
    return in.GetVarint(count) && count != 0 && count <= ends.size() && entries.Get(in, count) &&
           GetNumbers(in, ends.data(), ends.size()) && Expand(entries, ends, heap, budget);
}

}  // namespace

bool GetRowBytes(PlainReader& in, RowEnds& ends, QXBuffer<char>& heap, ExpansionBudget& budget) {
    BytesCoding coding{};
    if (!in.Get(coding)) {
        return false;
    }
    switch (coding) {
        case BytesCoding::Plain:
            return GetNumbers(in, ends.data(), ends.size()) &&
                   GetHeap(in, heap, SumUp(ends.data(), ends.size()), budget);
        case BytesCoding::Dictionary:
            return GetDictionary(in, ends, heap, budget);
    }
    return false;
}

bool GetHeap(PlainReader& in, QXBuffer<char>& heap, std::uint64_t size, ExpansionBudget& budget) {
    const char* bytes = budget.Take(size) ? in.Take(size) : nullptr;
    if (bytes != nullptr) {
        heap.Append(bytes, size);
    }
    return bytes != nullptr;
}

}  // namespace CQXDB::encoding
