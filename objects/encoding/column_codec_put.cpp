// Columns into a block.
#include "objects/encoding/bytes_codec.h"
#include "objects/encoding/column_codec.h"
#include "objects/encoding/double_codec.h"
#include "objects/encoding/number_codec.h"

namespace CQXDB::encoding {

ColumnHead ColumnCodec::HeadOf(const QXColumn& column) noexcept {
    return {column.type_, !column.hasValues_ || column.rows_ == 0 ? NullCoding::All
                          : column.nulls_.empty()                 ? NullCoding::None
                                                                  : NullCoding::Bitmap};
}

std::uint64_t ColumnCodec::Expansion(const QXColumn& column, std::size_t rowWeight) noexcept {
    return ExpansionOf(column.rows_, rowWeight) + column.heap_.size();
}

void ColumnCodec::Put(PlainBytes& out, const QXColumn& column) {
    const ColumnHead head = HeadOf(column);
    encoding::Put(out, PackHead(head));
    PutVarint(out, column.name_.size());
    out.Append(column.name_.data(), column.name_.size());
    if (head.nulls == NullCoding::Bitmap) {
        PutArray(out, column.nulls_.data(), column.nulls_.size());
        out.Append(NullBitmapSize(column.rows_) - column.nulls_.size(), 0);
    }
    if (head.nulls != NullCoding::All) {
        PutValues(out, column);
    }
}

std::size_t ColumnCodec::Size(const QXColumn& column) {
    const ColumnHead head = HeadOf(column);
    const std::size_t bitmap = head.nulls == NullCoding::Bitmap ? NullBitmapSize(column.rows_) : 0;
    const std::size_t values = head.nulls == NullCoding::All ? 0 : ValuesSize(column);
    return 1 + VarintSize(column.name_.size()) + column.name_.size() + bitmap + values;
}

void ColumnCodec::PutValues(PlainBytes& out, const QXColumn& column) {
    switch (column.type_) {
        case QXValueType::Bool:
            PutNumbers(out, column.bytes_.data(), column.rows_);
            break;
        case QXValueType::Date:
            PutNumbers(out, column.days_.data(), column.rows_);
            break;
        case QXValueType::Double:
            PutDoubles(out, column.words_.data(), column.rows_);
            break;
        case QXValueType::Decimal:
        case QXValueType::Text:
        case QXValueType::Blob:
            PutRowBytes(out, column.ends_, column.heap_);
            break;
        case QXValueType::Mixed:
            PutArray(out, column.bytes_.data(), column.rows_);
            PutNumbers(out, MixedWords(column).data(), column.rows_);
            PutMixedBytes(out, column);
            break;
        default:
            PutNumbers(out, column.words_.data(), column.rows_);
    }
}

std::size_t ColumnCodec::ValuesSize(const QXColumn& column) {
    switch (column.type_) {
        case QXValueType::Bool:
            return NumbersSize(column.bytes_.data(), column.rows_);
        case QXValueType::Date:
            return NumbersSize(column.days_.data(), column.rows_);
        case QXValueType::Double:
            return DoublesSize(column.words_.data(), column.rows_);
        case QXValueType::Decimal:
        case QXValueType::Text:
        case QXValueType::Blob:
            return RowBytesSize(column.ends_, column.heap_);
        case QXValueType::Mixed:
            return column.rows_ + NumbersSize(MixedWords(column).data(), column.rows_) +
                   column.heap_.size();
        default:
            return NumbersSize(column.words_.data(), column.rows_);
    }
}

/// The bytes of the rows. A peer may have given a null some, which became Mixed with its
/// neighbours: they have no row any more, and stay behind.
void ColumnCodec::PutMixedBytes(PlainBytes& out, const QXColumn& column) {
    for (std::size_t row = 0; row < column.rows_; ++row) {
        if (IsBytes(column.TypeAt(row))) {
            const auto word = static_cast<std::uint64_t>(column.words_[row]);
            const std::size_t start = word & 0xFFFFFFFFU;
            const std::size_t length = word >> 32;
            out.Append(column.heap_.data() + start, length);
        }
    }
}

/// The words as they travel: a length in place of a place in the heap.
QXBuffer<std::int64_t> ColumnCodec::MixedWords(const QXColumn& column) {
    QXBuffer<std::int64_t> words;
    words.Resize(column.rows_);
    for (std::size_t row = 0; row < column.rows_; ++row) {
        const std::int64_t word = column.words_[row];
        words[row] = IsBytes(column.TypeAt(row))
                         ? static_cast<std::int64_t>(static_cast<std::uint64_t>(word) >> 32)
                         : word;
    }
    return words;
}

}  // namespace CQXDB::encoding
