// One column of a recordset: a name, a type, a null bitmap and the values of all rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <qxdb/Export.h>
#include <qxdb/QXEnums.h>
#include <qxdb/QXValue.h>

namespace CQXDB {

/// A column starts with the type it was added with (QXValueType::Null when that is not yet known) and
/// takes the type of the first value appended; a value of another type makes it Mixed, so that no
/// value ever loses its type or a bit.
class QXDB_OBJECTS_API QXColumn {
  public:
    QXColumn() = default;
    QXColumn(std::string_view nameUtf8, QXValueType type);

    std::wstring Name() const;
    const std::string& NameUtf8() const noexcept { return name_; }
    QXValueType Type() const noexcept { return type_; }
    std::size_t RowCount() const noexcept { return rows_; }

    /// Type of one cell; Null for a null.
    QXValueType TypeAt(std::size_t row) const noexcept;
    bool IsNull(std::size_t row) const noexcept;

    // The stored value of a cell of exactly that type; undefined for a null or another type (use Get).
    std::int64_t Int64At(std::size_t row) const noexcept;  ///< Bool, Int64, Date, Time, Timestamp
    double DoubleAt(std::size_t row) const noexcept;
    std::string_view BytesAt(std::size_t row) const noexcept;  ///< Text (UTF-8), Decimal, Blob
    /// The cell as a value of its own. `row` must be below RowCount().
    QXValue Get(std::size_t row) const;

    // Filling, by the adapters.
    void AppendNull();
    void AppendInt64(std::int64_t value, QXValueType type = QXValueType::Int64);
    void AppendDouble(double value);
    void AppendBytes(std::string_view bytes, QXValueType type);
    void Append(const QXValue& value);
    void Reserve(std::size_t rows);
    void ShrinkToFit();

    /// Bytes that the column's buffers take up.
    std::size_t MemoryBytes() const noexcept;

  private:
    friend class QXRecordset;
    // Storage: fixed-width values in fixed_, variable ones as end offsets in offsets_ and bytes in
    // heap_; a Mixed column has a type a row in tags_ and a fixed_ entry a row (value, or offset).
    std::string name_;
    std::vector<std::uint8_t> nulls_;  ///< one bit a row, 1 is null; empty while there is no null
    std::vector<std::int64_t> fixed_;
    std::vector<std::uint32_t> offsets_;
    std::vector<char> heap_;
    std::vector<std::uint8_t> tags_;
    std::size_t rows_ = 0;
    QXValueType type_ = QXValueType::Null;
};

}  // namespace CQXDB
