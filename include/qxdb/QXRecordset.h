// A result set, stored column by column, with row navigation and typed getters on top.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <qxdb/QXColumn.h>
#include <qxdb/QXIOBase.h>

namespace CQXDB {

/// Row and column numbers count from 0. A freshly filled recordset stands on its first row. Getters
/// by (row, column) are const and may be used by several threads at once; the navigating ones move
/// one shared position. A wrong row, column or name throws std::out_of_range.
class QXDB_OBJECTS_API QXRecordset : public CQXBASE::QXIOBase {
  public:
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    QXRecordset() = default;
    QXRecordset(const QXRecordset& other);
    QXRecordset(QXRecordset&&) noexcept = default;
    QXRecordset& operator=(const QXRecordset& other);
    QXRecordset& operator=(QXRecordset&&) noexcept = default;
    ~QXRecordset() override = default;

    // Page. Set before a query, it says which rows to fetch; 0 rows a page means all of them. Both
    // numbers are below 2^31; one beyond 32 bits becomes -1, which the query refuses.
    void setPageSize(long rows);
    long pageSize() const noexcept { return pageSize_; }
    void setCurrentPage(long page);
    long currentPage() const noexcept { return currentPage_; }  ///< from 1

    std::size_t ColumnCount() const noexcept { return columns_.size(); }
    std::size_t RowCount() const noexcept { return columns_.empty() ? 0 : columns_[0]->RowCount(); }
    const QXColumn& Column(std::size_t index) const { return *columns_.at(index); }
    std::wstring ColumnName(std::size_t index) const { return Column(index).Name(); }
    QXValueType ColumnType(std::size_t index) const { return Column(index).Type(); }
    /// Index of the first column of that name (compared without regard to ASCII case), or npos.
    std::size_t FindColumn(std::wstring_view name) const;

    // Navigation.
    void MoveFirst() noexcept { position_ = 0; }
    void MoveNext() noexcept { position_ += position_ < RowCount() ? 1U : 0U; }
    void MoveTo(std::size_t row) noexcept { position_ = row < RowCount() ? row : RowCount(); }
    bool Eof() const noexcept { return position_ >= RowCount(); }
    std::size_t Position() const noexcept { return position_; }

    // Random access. The conversions are those of QXValue.
    bool IsNull(std::size_t row, std::size_t column) const {
        return CellColumn(row, column).IsNull(row);
    }
    QXValueType TypeAt(std::size_t row, std::size_t column) const {
        return CellColumn(row, column).TypeAt(row);
    }
    QXValue GetValue(std::size_t row, std::size_t column) const {
        return CellColumn(row, column).Get(row);
    }
    bool GetBool(std::size_t row, std::size_t column) const;
    std::int64_t GetInt64(std::size_t row, std::size_t column) const {
        const QXColumn& cells = CellColumn(row, column);
        return cells.Type() == QXValueType::Int64 && !cells.IsNull(row) ? cells.Int64At(row)
                                                                        : ConvertInt64(row, column);
    }
    double GetDouble(std::size_t row, std::size_t column) const {
        const QXColumn& cells = CellColumn(row, column);
        return cells.Type() == QXValueType::Double && !cells.IsNull(row)
                   ? cells.DoubleAt(row)
                   : ConvertDouble(row, column);
    }
    std::wstring GetText(std::size_t row, std::size_t column) const;
    std::string GetTextUtf8(std::size_t row, std::size_t column) const;
    /// The stored bytes of a Text, Decimal or Blob cell without a copy; empty for other types.
    /// Valid until the recordset is filled again or destroyed.
    std::string_view GetBytes(std::size_t row, std::size_t column) const;

    // The current row, by index or by name.
    bool IsNull(std::size_t column) const { return IsNull(position_, column); }
    bool IsNull(std::wstring_view name) const { return IsNull(position_, Require(name)); }
    QXValue GetValue(std::size_t column) const { return GetValue(position_, column); }
    QXValue GetValue(std::wstring_view name) const { return GetValue(position_, Require(name)); }
    bool GetBool(std::size_t column) const { return GetBool(position_, column); }
    bool GetBool(std::wstring_view name) const { return GetBool(position_, Require(name)); }
    std::int64_t GetInt64(std::size_t column) const { return GetInt64(position_, column); }
    std::int64_t GetInt64(std::wstring_view name) const {
        return GetInt64(position_, Require(name));
    }
    double GetDouble(std::size_t column) const { return GetDouble(position_, column); }
    double GetDouble(std::wstring_view name) const { return GetDouble(position_, Require(name)); }
    std::wstring GetText(std::size_t column) const { return GetText(position_, column); }
    std::wstring GetText(std::wstring_view name) const { return GetText(position_, Require(name)); }

    /// A row during iteration: `for (auto row : recordset) row.GetText(0);`
    class Row {
      public:
        Row(const QXRecordset& owner, std::size_t index) noexcept : owner_(&owner), index_(index) {}
        std::size_t Index() const noexcept { return index_; }
        bool IsNull(std::size_t column) const { return owner_->IsNull(index_, column); }
        QXValue GetValue(std::size_t column) const { return owner_->GetValue(index_, column); }
        bool GetBool(std::size_t column) const { return owner_->GetBool(index_, column); }
        std::int64_t GetInt64(std::size_t column) const { return owner_->GetInt64(index_, column); }
        double GetDouble(std::size_t column) const { return owner_->GetDouble(index_, column); }
        std::wstring GetText(std::size_t column) const { return owner_->GetText(index_, column); }
        std::string GetTextUtf8(std::size_t column) const {
            return owner_->GetTextUtf8(index_, column);
        }

      private:
        const QXRecordset* owner_;
        std::size_t index_;
    };
    class RowIterator {
      public:
        RowIterator(const QXRecordset& owner, std::size_t index) noexcept
            : owner_(&owner), index_(index) {}
        Row operator*() const noexcept { return {*owner_, index_}; }
        RowIterator& operator++() noexcept {
            ++index_;
            return *this;
        }
        bool operator!=(const RowIterator& other) const noexcept { return index_ != other.index_; }

      private:
        const QXRecordset* owner_;
        std::size_t index_;
    };
    RowIterator begin() const noexcept { return {*this, 0}; }
    RowIterator end() const noexcept { return {*this, RowCount()}; }

    // Filling, by the adapters: Clear, AddColumn for each column, then append a cell to every
    // column for each row, then FillDone.
    /// Removes all columns and rows; the page stays.
    void Clear() noexcept;
    /// The new column, which stays in place until the recordset is cleared or destroyed.
    QXColumn& AddColumn(std::string_view nameUtf8, QXValueType type = QXValueType::Null);
    QXColumn& MutableColumn(std::size_t index) { return *columns_.at(index); }
    /// Gives spare memory back and moves to the first row. Throws std::logic_error when the columns
    /// differ in length.
    void FillDone();

    /// Bytes that the columns' buffers take up.
    std::size_t MemoryBytes() const noexcept;

    int toCDR(ACE_OutputCDR& out) const override;
    /// For a sender that has not yet all rows: toCDR in parts, each by a recordset with the same
    /// columns and page, on a stream of its own or behind the part before. size() bounds each part.
    int PartToCDR(ACE_OutputCDR& out, bool first, bool last) const;
    int fromCDR(ACE_InputCDR& in) override;
    std::size_t size() override;

  private:
    const QXColumn& CellColumn(std::size_t row, std::size_t column) const {
        if (column >= columns_.size() || row >= columns_[column]->RowCount()) {
            RefuseCell(row, column);
        }
        return *columns_[column];
    }
    [[noreturn]] void RefuseCell(std::size_t row, std::size_t column) const;
    std::int64_t ConvertInt64(std::size_t row, std::size_t column) const;
    double ConvertDouble(std::size_t row, std::size_t column) const;
    std::size_t Require(std::wstring_view name) const;
    bool ReadPart(ACE_InputCDR& in, std::uint32_t columns);
    void ReserveForRest(std::size_t taken, std::size_t left);

    std::vector<std::unique_ptr<QXColumn>>
        columns_;  ///< each stays in place while others are added
    std::size_t position_ = 0;
    std::int32_t pageSize_ = 0;
    std::int32_t currentPage_ = 1;
};

}  // namespace CQXDB
