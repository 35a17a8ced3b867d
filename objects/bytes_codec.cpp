#include "objects/bytes_codec.h"

#include <string_view>

#include <qxdb/QXColumn.h>

#include "objects/number_codec.h"
#include "objects/text_dictionary.h"

namespace CQXDB {
namespace {

/// The numbers are wire values.
enum class BytesCoding : std::uint8_t {
    Plain = 0,       ///< the rows' lengths, then their bytes
    Dictionary = 1,  ///< the entries as above behind their number, then the rows' entries from 0
};

QXBuffer<std::uint32_t> Lengths(const RowEnds& ends) {
    QXBuffer<std::uint32_t> lengths;
    lengths.Resize(ends.size());
    lengths[0] = ends[0];
    for (std::size_t row = 1; row < ends.size(); ++row) {
        lengths[row] = ends[row] - ends[row - 1];
    }
    return lengths;
}

void PutPlain(PlainBytes& out, const RowEnds& ends, const QXBuffer<char>& heap) {
    PutNumbers(out, Lengths(ends).data(), ends.size());
    out.Append(heap.data(), heap.size());
}

/// The entries one after the other, as the rows of a column stand.
void PutDictionary(PlainBytes& out, const TextDictionary& dictionary) {
    RowEnds ends;
    QXBuffer<char> heap;
    for (const std::string_view entry : dictionary.Entries()) {
        heap.Append(entry.data(), entry.size());
        ends.Push(static_cast<std::uint32_t>(heap.size()));
    }
    PutVarint(out, ends.size());
    PutPlain(out, ends, heap);
    PutNumbers(out, dictionary.Codes().data(), dictionary.Codes().size());
}

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

void PutRowBytes(PlainBytes& out, const RowEnds& ends, const QXBuffer<char>& heap) {
    TextDictionary dictionary;
    if (dictionary.Build(ends, heap)) {
        const std::size_t start = out.size();
        Put(out, BytesCoding::Dictionary);
        PutDictionary(out, dictionary);
        // Texts as short as their codes are better off without a dictionary.
        if (out.size() - start <= RowBytesSize(ends, heap)) {
            return;
        }
        out.Resize(start);
    }
    Put(out, BytesCoding::Plain);
    PutPlain(out, ends, heap);
}

std::size_t RowBytesSize(const RowEnds& ends, const QXBuffer<char>& heap) {
    return 1 + NumbersSize(Lengths(ends).data(), ends.size()) + heap.size();
}

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

}  // namespace CQXDB
