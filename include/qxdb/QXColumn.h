// One column of a recordset: a name, a type, a null bitmap and the values of all rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include <qxdb/Export.h>
#include <qxdb/QXBuffer.h>
#include <qxdb/QXEnums.h>
#include <qxdb/QXValue.h>

namespace CQXDB {
namespace encoding {
class ColumnCodec;
}

/// A column starts with the type it was added with (QXValueType::Null when that is not yet known)
/// and takes the type of the first value appended; a value of another type makes it Mixed, so that
/// no value ever loses its type or a bit.
///
/// A row takes 1 byte in a Bool column, 4 in a Date column, 8 in other columns of numbers, 4 beside
/// its bytes in a column of texts, decimals or blobs, and 9 beside its bytes in a Mixed one; in all
/// but the last one bit more up to the last null. It takes nothing while all rows are null.
class QXDB_OBJECTS_API QXColumn {
  public:
    /// Bytes of text, decimals and blobs that one column holds at most; appending more throws
    /// std::length_error.
    static constexpr std::size_t kMaxBytes = 0xFFFFFFFFU;

    QXColumn() = default;
    QXColumn(std::string_view nameUtf8, QXValueType type) : name_(nameUtf8), type_(type) {}

    std::wstring Name() const;
    const std::string& NameUtf8() const noexcept { return name_; }
    QXValueType Type() const noexcept { return type_; }
    std::size_t RowCount() const noexcept { return rows_; }

    /// Type of one cell; Null for a null.
    QXValueType TypeAt(std::size_t row) const noexcept {
        return IsNull(row)                   ? QXValueType::Null
               : type_ == QXValueType::Mixed ? static_cast<QXValueType>(bytes_[row])
                                             : type_;
    }
    bool IsNull(std::size_t row) const noexcept {
        if (!hasValues_) {
            return true;
        }
        if (type_ == QXValueType::Mixed) {
            return bytes_[row] == static_cast<std::uint8_t>(QXValueType::Null);
        }
        return row / 8 < nulls_.size() && (nulls_[row / 8] >> (row % 8) & 1) != 0;
    }

    // The stored value of a cell of exactly that type; undefined for a null or another type (use
    // Get).

    /// Bool, Int64, Date, Time, Timestamp.
    std::int64_t Int64At(std::size_t row) const noexcept {
        switch (type_) {
            case QXValueType::Bool:
                return bytes_[row];
            case QXValueType::Date:
                return days_[row];
            default:
                return words_[row];
        }
    }
    double DoubleAt(std::size_t row) const noexcept {
        double value = 0;
        std::memcpy(&value, &words_[row], sizeof value);
        return value;
    }
    /// Text (UTF-8), Decimal, Blob. Valid until the column is changed.
    std::string_view BytesAt(std::size_t row) const noexcept {
        if (type_ == QXValueType::Mixed) {
            const auto word = static_cast<std::uint64_t>(words_[row]);
            return {heap_.data() + (word & 0xFFFFFFFFU), static_cast<std::size_t>(word >> 32)};
        }
        const std::uint32_t start = row == 0 ? 0 : ends_[row - 1];
        return {heap_.data() + start, ends_[row] - start};
    }
    /// Bytes of all texts, decimals and blobs.
    std::size_t BytesSize() const noexcept { return heap_.size(); }
    /// The cell as a value of its own. `row` must be below RowCount().
    QXValue Get(std::size_t row) const;

    // Filling, by the adapters. Throws std::invalid_argument for a type that the call doesn't
    // store.

    void AppendNull();
    /// A Bool, Int64, Date, Time or Timestamp. A Bool keeps only whether it is 0, a Date 32 bits.
    void AppendInt64(std::int64_t value, QXValueType type = QXValueType::Int64) {
        PrepareFor(type, kNumbers, value);
        switch (type_) {
            case QXValueType::Bool:
                bytes_.Push(value != 0 ? 1 : 0);
                break;
            case QXValueType::Date:
                days_.Push(static_cast<std::int32_t>(value));
                break;
            case QXValueType::Mixed:
                PushMixed(Narrowed(value, type), type);
                break;
            default:
                words_.Push(value);
        }
        ++rows_;
    }
    void AppendDouble(double value) {
        std::int64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        PrepareFor(QXValueType::Double, kDoubles, bits);
        if (type_ == QXValueType::Mixed) {
            PushMixed(bits, QXValueType::Double);
        } else {
            words_.Push(bits);
        }
        ++rows_;
    }
    /// A Text (UTF-8), Decimal or Blob.
    void AppendBytes(std::string_view bytes, QXValueType type) {
        PrepareFor(type, kBytes, 0);
        if (type_ == QXValueType::Mixed) {
            PushMixedBytes(bytes, type);
        } else {
            ends_.Room(1);
            AddToHeap(bytes);
            ends_.Push(static_cast<std::uint32_t>(heap_.size()));
        }
        ++rows_;
    }
    void Append(const QXValue& value);
    /// The rows of another column, whose name is dropped.
    void AppendRows(QXColumn&& other);
    /// Makes room for rows like those that are there, `times` as many in all.
    void ReserveTimes(double times);
    /// Makes room for `rows` rows in all, of the type the column has now.
    void Reserve(std::size_t rows);
    void ShrinkToFit();

    /// Bytes that the column's buffers take up.
    std::size_t MemoryBytes() const noexcept;

  private:
    friend class encoding::ColumnCodec;

    // Sets of types, one bit each.
    static constexpr unsigned kNumbers = 1U << 1 | 1U << 2 | 1U << 7 | 1U << 8 | 1U << 9;
    static constexpr unsigned kDoubles = 1U << 3;
    static constexpr unsigned kBytes = 1U << 4 | 1U << 5 | 1U << 6;

    static std::int64_t Narrowed(std::int64_t value, QXValueType type) noexcept {
        return type == QXValueType::Bool   ? static_cast<std::int64_t>(value != 0)
               : type == QXValueType::Date ? static_cast<std::int32_t>(value)
                                           : value;
    }
    void PrepareFor(QXValueType type, unsigned allowed, std::int64_t word) {
        if (type_ != type || !hasValues_) {
            Become(type, allowed, word);
        }
    }
    void AddToHeap(std::string_view bytes) {
        if (bytes.size() > kMaxBytes - heap_.size()) {
            RefuseBytes();
        }
        heap_.Append(bytes.data(), bytes.size());
    }
    void PushMixed(std::int64_t word, QXValueType type) {
        bytes_.Room(1);
        words_.Push(word);
        bytes_.Push(static_cast<std::uint8_t>(type));
    }
    void Become(QXValueType type, unsigned allowed, std::int64_t word);
    void BackfillNulls(std::int64_t word);
    void BecomeMixed();
    std::int64_t MixedWord(std::size_t row) const noexcept;
    void PushMixedBytes(std::string_view bytes, QXValueType type);
    void PushNull();
    void AppendSameType(const QXColumn& other);
    void AppendNullBits(const QXColumn& other);
    void AppendCell(const QXColumn& other, std::size_t row);
    [[noreturn]] void RefuseBytes() const;

    // A null's place in days_ or words_ repeats the value before it, so that it doesn't widen the
    // range that is encoded; its place in ends_ is an empty text.
    std::string name_;
    QXBuffer<std::uint8_t>
        nulls_;  ///< one bit a row up to the last null, 1 is null; unused by Mixed
    QXBuffer<std::uint8_t> bytes_;  ///< Bool: values; Mixed: types
    QXBuffer<std::int32_t> days_;   ///< Date
    QXBuffer<std::int64_t> words_;  ///< other numbers, a double as its bits; Mixed: also heap
                                    ///< places, offset in the low and length in the high half
    QXBuffer<std::uint32_t> ends_;  ///< Text, Decimal, Blob: where each row's bytes end in heap_
    QXBuffer<char> heap_;           ///< the rows' bytes one after the other, without gaps
    std::size_t rows_ = 0;
    QXValueType type_ = QXValueType::Null;
    bool hasValues_ = false;  ///< false: all rows are null and no buffer is used
};

}  // namespace CQXDB
