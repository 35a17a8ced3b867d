// The rows of a column of texts, decimals or blobs: their lengths and bytes, or numbers of entries
// in a dictionary.
#pragma once

#include <cstddef>
#include <cstdint>

#include <qxdb/QXBuffer.h>

#include "objects/encoding/expansion_budget.h"
#include "objects/encoding/plain_bytes.h"

namespace CQXDB::encoding {

/// The numbers are wire values.
enum class BytesCoding : std::uint8_t {
    Plain = 0,       ///< the rows' lengths, then their bytes
    Dictionary = 1,  ///< the entries as above behind their number, then the rows' entries from 0
};

using RowEnds = QXBuffer<std::uint32_t>;

/// `ends` has a place for each of the rows, of which there is one at least.
void PutRowBytes(PlainBytes& out, const RowEnds& ends, const QXBuffer<char>& heap);
/// At least what PutRowBytes adds, in bytes.
std::size_t RowBytesSize(const RowEnds& ends, const QXBuffer<char>& heap);
/// Fills `ends`, which has a place a row, and the empty `heap`, which is charged to the budget.
/// False for anything malformed and for an exceeded budget.
bool GetRowBytes(PlainReader& in, RowEnds& ends, QXBuffer<char>& heap, ExpansionBudget& budget);
/// Takes `size` bytes into the empty `heap`, on the same terms.
bool GetHeap(PlainReader& in, QXBuffer<char>& heap, std::uint64_t size, ExpansionBudget& budget);

}  // namespace CQXDB::encoding
