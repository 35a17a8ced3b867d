// How a column finds its type, and becomes Mixed when its values differ in type.
#include <stdexcept>

#include <qxdb/QXColumn.h>

namespace CQXDB {

void QXColumn::Become(QXValueType type, unsigned allowed, std::int64_t word) {
    if ((allowed >> static_cast<unsigned>(type) & 1U) == 0) {
        throw std::invalid_argument("column '" + name_ + "': the value isn't stored as this type");
    }
    if (!hasValues_) {
        type_ = type;
        BackfillNulls(word);
        hasValues_ = true;
    } else if (type_ != QXValueType::Mixed) {
        BecomeMixed();
    }
}

/// The rows so far are nulls without a place in any buffer; the first value, `word`, gives them
/// one.
void QXColumn::BackfillNulls(std::int64_t word) {
    switch (type_) {
        case QXValueType::Bool:
            bytes_.Append(rows_, word != 0 ? 1 : 0);
            break;
        case QXValueType::Date:
            days_.Append(rows_, static_cast<std::int32_t>(word));
            break;
        case QXValueType::Decimal:
        case QXValueType::Text:
        case QXValueType::Blob:
            ends_.Append(rows_, 0);
            break;
        default:
            words_.Append(rows_, word);
    }
    nulls_.Append(rows_ / 8, 0xFF);
    if (rows_ % 8 != 0) {
        nulls_.Push(static_cast<std::uint8_t>((1U << (rows_ % 8)) - 1));
    }
}

void QXColumn::BecomeMixed() {
    QXBuffer<std::uint8_t> types;
    QXBuffer<std::int64_t> words;
    types.Reserve(rows_ + 1);
    words.Reserve(rows_ + 1);
    for (std::size_t row = 0; row < rows_; ++row) {
        types.Push(static_cast<std::uint8_t>(TypeAt(row)));
        words.Push(IsNull(row) ? 0 : MixedWord(row));
    }
    bytes_.Swap(types);
    words_.Swap(words);
    nulls_ = {};
    days_ = {};
    ends_ = {};
    type_ = QXValueType::Mixed;
}

std::int64_t QXColumn::MixedWord(std::size_t row) const noexcept {
    if ((kBytes >> static_cast<unsigned>(type_) & 1U) == 0) {
        return Int64At(row);
    }
    const std::uint64_t start = row == 0 ? 0 : ends_[row - 1];
    return static_cast<std::int64_t>(start | (ends_[row] - start) << 32);
}

void QXColumn::PushMixedBytes(std::string_view bytes, QXValueType type) {
    bytes_.Room(1);
    words_.Room(1);
    const std::uint64_t start = heap_.size();
    AddToHeap(bytes);
    PushMixed(static_cast<std::int64_t>(start | std::uint64_t{bytes.size()} << 32), type);
}

}  // namespace CQXDB
