// Putting the rows of columns one behind the other.
#include <algorithm>

#include <qxdb/QXColumn.h>

namespace CQXDB {

void QXColumn::AppendRows(QXColumn&& other) {
    if (rows_ == 0) {
        other.name_.swap(name_);
        *this = std::move(other);
    } else if (!other.hasValues_ && !hasValues_) {
        rows_ += other.rows_;
    } else if (hasValues_ && other.hasValues_ && type_ == other.type_ &&
               type_ != QXValueType::Mixed) {
        AppendSameType(other);
    } else {
        for (std::size_t row = 0; row < other.rows_; ++row) {
            AppendCell(other, row);
        }
    }
}

void QXColumn::ReserveTimes(double times) {
    const auto grow = [times](auto& buffer) {
        buffer.Reserve(static_cast<std::size_t>(static_cast<double>(buffer.size()) * times));
    };
    grow(nulls_);
    grow(bytes_);
    grow(days_);
    grow(words_);
    grow(ends_);
    grow(heap_);
}

void QXColumn::AppendSameType(const QXColumn& other) {
    const std::size_t start = heap_.size();
    AddToHeap({other.heap_.data(), other.heap_.size()});
    AppendNullBits(other);
    bytes_.Append(other.bytes_.data(), other.bytes_.size());
    days_.Append(other.days_.data(), other.days_.size());
    words_.Append(other.words_.data(), other.words_.size());
    std::uint32_t* const ends = ends_.Extend(other.ends_.size());
    for (std::size_t row = 0; row < other.ends_.size(); ++row) {
        ends[row] = static_cast<std::uint32_t>(start + other.ends_[row]);
    }
    rows_ += other.rows_;
}

void QXColumn::AppendNullBits(const QXColumn& other) {
    if (other.nulls_.empty()) {
        return;
    }
    const std::size_t bits = rows_ + 8 * other.nulls_.size();
    nulls_.Append((bits + 7) / 8 - nulls_.size(), 0);
    std::uint8_t* const target = nulls_.data() + rows_ / 8;
    const unsigned shift = rows_ % 8;
    for (std::size_t i = 0; i < other.nulls_.size(); ++i) {
        const unsigned shifted = static_cast<unsigned>(other.nulls_[i]) << shift;
        target[i] = static_cast<std::uint8_t>(target[i] | (shifted & 0xFFU));
        if (shift != 0) {
            target[i + 1] = static_cast<std::uint8_t>(shifted >> 8);
        }
    }
    nulls_.Resize(std::min(nulls_.size(), (rows_ + other.rows_ + 7) / 8));
}

void QXColumn::AppendCell(const QXColumn& other, std::size_t row) {
    switch (const QXValueType type = other.TypeAt(row)) {
        case QXValueType::Null:
            AppendNull();
            break;
        case QXValueType::Double:
            AppendDouble(other.DoubleAt(row));
            break;
        case QXValueType::Decimal:
        case QXValueType::Text:
        case QXValueType::Blob:
            AppendBytes(other.BytesAt(row), type);
            break;
        default:
            AppendInt64(other.Int64At(row), type);
    }
}

}  // namespace CQXDB
