#include "objects/encoding/bytes_codec.h"
#include "objects/encoding/number_codec.h"
#include "objects/encoding/text_dictionary.h"

namespace CQXDB::encoding {
namespace {

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

}  // namespace CQXDB::encoding
