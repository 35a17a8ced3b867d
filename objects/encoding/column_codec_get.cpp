// Columns out of a block that a peer sent: every count is checked before memory is taken for it.
#include "objects/encoding/bytes_codec.h"
#include "objects/encoding/column_codec.h"
#include "objects/encoding/double_codec.h"
#include "objects/encoding/number_codec.h"

namespace CQXDB::encoding {
namespace {

/// A number that the type can't hold is cut to one that it can.
std::int64_t Fitted(std::int64_t word, QXValueType type) {
    switch (type) {
        case QXValueType::Null:
            return 0;
        case QXValueType::Bool:
            return word != 0 ? 1 : 0;
        case QXValueType::Date:
            return static_cast<std::int32_t>(word);
        default:
            return word;
    }
}

}  // namespace

bool ColumnCodec::Get(PlainReader& in, QXColumn& column, std::size_t rows, std::size_t rowWeight,
                      ExpansionBudget& budget) {
    std::uint8_t byte = 0;
    std::uint64_t nameSize = 0;
    if (!in.Get(byte) || !in.GetVarint(nameSize)) {
        return false;
    }
    const ColumnHead head = UnpackHead(byte);
    const char* name = in.Take(nameSize);
    if (name == nullptr || !IsValid(head, rows) || !budget.Take(ExpansionOf(rows, rowWeight))) {
        return false;
    }
    column.name_.assign(name, nameSize);
    column.type_ = head.type;
    column.rows_ = rows;
    column.hasValues_ = head.nulls != NullCoding::All;
    return !column.hasValues_ || ((head.nulls == NullCoding::None || GetNulls(in, column)) &&
                                  GetValues(in, column, budget));
}

bool ColumnCodec::GetNulls(PlainReader& in, QXColumn& column) {
    const std::size_t size = NullBitmapSize(column.rows_);
    const char* bitmap = in.Take(size);
    if (bitmap == nullptr) {
        return false;
    }
    column.nulls_.Append(reinterpret_cast<const std::uint8_t*>(bitmap), size);
    if (column.rows_ % 8 != 0) {
        column.nulls_.Back() =
            static_cast<std::uint8_t>(column.nulls_.Back() & ((1U << (column.rows_ % 8)) - 1));
    }
    return true;
}

bool ColumnCodec::GetValues(PlainReader& in, QXColumn& column, ExpansionBudget& budget) {
    switch (column.type_) {
        case QXValueType::Bool:
            return GetBools(in, column);
        case QXValueType::Date:
            column.days_.Resize(column.rows_);
            return GetNumbers(in, column.days_.data(), column.rows_);
        case QXValueType::Double:
            column.words_.Resize(column.rows_);
            return GetDoubles(in, column.words_.data(), column.rows_);
        case QXValueType::Decimal:
        case QXValueType::Text:
        case QXValueType::Blob:
            column.ends_.Resize(column.rows_);
            return GetRowBytes(in, column.ends_, column.heap_, budget);
        case QXValueType::Mixed:
            return GetMixed(in, column, budget);
        default:
            column.words_.Resize(column.rows_);
            return GetNumbers(in, column.words_.data(), column.rows_);
    }
}

bool ColumnCodec::GetBools(PlainReader& in, QXColumn& column) {
    column.bytes_.Resize(column.rows_);
    if (!GetNumbers(in, column.bytes_.data(), column.rows_)) {
        return false;
    }
    for (std::size_t row = 0; row < column.rows_; ++row) {
        column.bytes_[row] = column.bytes_[row] != 0 ? 1 : 0;
    }
    return true;
}

bool ColumnCodec::GetMixed(PlainReader& in, QXColumn& column, ExpansionBudget& budget) {
    const char* types = in.Take(column.rows_);
    if (types == nullptr) {
        return false;
    }
    column.bytes_.Append(reinterpret_cast<const std::uint8_t*>(types), column.rows_);
    column.words_.Resize(column.rows_);
    if (!GetNumbers(in, column.words_.data(), column.rows_)) {
        return false;
    }
    std::uint64_t end = 0;
    for (std::size_t row = 0; row < column.rows_; ++row) {
        const auto type = static_cast<QXValueType>(column.bytes_[row]);
        const auto length = static_cast<std::uint64_t>(column.words_[row]);
        if (type >= QXValueType::Mixed || (IsBytes(type) && length > QXColumn::kMaxBytes - end)) {
            return false;
        }
        column.words_[row] = IsBytes(type) ? static_cast<std::int64_t>(end | length << 32)
                                           : Fitted(column.words_[row], type);
        end += IsBytes(type) ? length : 0;
    }
    return GetHeap(in, column.heap_, end, budget);
}

}  // namespace CQXDB::encoding
