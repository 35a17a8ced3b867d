#include <stdexcept>

#include <qxdb/QXColumn.h>

#include "util/text.h"

namespace CQXDB {

std::wstring QXColumn::Name() const {
    return CQXBASE::Utf8ToWide(name_);
}

QXValue QXColumn::Get(std::size_t row) const {
    const QXValueType type = TypeAt(row);
    switch (type) {
        case QXValueType::Null:
            return {};
        case QXValueType::Double:
            return QXValue::Double(DoubleAt(row));
        case QXValueType::Decimal:
        case QXValueType::Text:
        case QXValueType::Blob:
            return {type, std::string(BytesAt(row))};
        default:
            return {type, Int64At(row)};
    }
}

void QXColumn::Append(const QXValue& value) {
    switch (value.Type()) {
        case QXValueType::Null:
            AppendNull();
            break;
        case QXValueType::Double:
            AppendDouble(value.RawDouble());
            break;
        case QXValueType::Decimal:
        case QXValueType::Text:
        case QXValueType::Blob:
            AppendBytes(value.Bytes(), value.Type());
            break;
        default:
            AppendInt64(value.RawInt64(), value.Type());
    }
}

namespace {

template <class T>
void Repeat(QXBuffer<T>& buffer) {
    buffer.Push(buffer.empty() ? T{} : buffer.Back());
}

}  // namespace

void QXColumn::AppendNull() {
    if (hasValues_) {
        if (type_ == QXValueType::Mixed) {
            PushMixed(0, QXValueType::Null);
        } else {
            PushNull();
        }
    }
    ++rows_;
}

void QXColumn::PushNull() {
    const std::size_t byte = rows_ / 8;
    nulls_.Room(byte + 1 - nulls_.size());
    switch (type_) {
        case QXValueType::Bool:
            Repeat(bytes_);
            break;
        case QXValueType::Date:
            Repeat(days_);
            break;
        case QXValueType::Decimal:
        case QXValueType::Text:
        case QXValueType::Blob:
            Repeat(ends_);
            break;
        default:
            Repeat(words_);
    }
    nulls_.Append(byte + 1 - nulls_.size(), 0);
    nulls_[byte] = static_cast<std::uint8_t>(nulls_[byte] | 1U << (rows_ % 8));
}

void QXColumn::Reserve(std::size_t rows) {
    switch (type_) {
        case QXValueType::Null:
            break;
        case QXValueType::Bool:
            bytes_.Reserve(rows);
            break;
        case QXValueType::Date:
            days_.Reserve(rows);
            break;
        case QXValueType::Decimal:
        case QXValueType::Text:
        case QXValueType::Blob:
            ends_.Reserve(rows);
            break;
        case QXValueType::Mixed:
            bytes_.Reserve(rows);
            words_.Reserve(rows);
            break;
        default:
            words_.Reserve(rows);
    }
}

void QXColumn::ShrinkToFit() {
    nulls_.ShrinkToFit();
    bytes_.ShrinkToFit();
    days_.ShrinkToFit();
    words_.ShrinkToFit();
    ends_.ShrinkToFit();
    heap_.ShrinkToFit();
}

std::size_t QXColumn::MemoryBytes() const noexcept {
    return nulls_.MemoryBytes() + bytes_.MemoryBytes() + days_.MemoryBytes() +
           words_.MemoryBytes() + ends_.MemoryBytes() + heap_.MemoryBytes();
}

void QXColumn::RefuseBytes() const {
    throw std::length_error("column '" + name_ + "' would hold more than 4 GiB of text and blobs");
}

}  // namespace CQXDB
