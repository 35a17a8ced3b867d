#include <stdexcept>

#include <qxdb/QXRecordset.h>

#include "objects/page_number.h"
#include "objects/value_conversion.h"
#include "util/ascii.h"
#include "util/double_bits.h"
#include "util/text.h"

namespace CQXDB {

// Makes a DLL hold the constant, for programs that take its address.
constexpr std::size_t QXRecordset::npos;

namespace {

ValueView ViewOf(const QXColumn& column, std::size_t row) {
    const QXValueType type = column.TypeAt(row);
    switch (type) {
        case QXValueType::Null:
            return {};
        case QXValueType::Decimal:
        case QXValueType::Text:
        case QXValueType::Blob:
            return {type, 0, column.BytesAt(row)};
        case QXValueType::Double:
            return {type, CQXBASE::DoubleToBits(column.DoubleAt(row)), {}};
        default:
            return {type, column.Int64At(row), {}};
    }
}

}  // namespace

void QXRecordset::setPageSize(long rows) {
    pageSize_ = PageNumber(rows);
}

void QXRecordset::setCurrentPage(long page) {
    currentPage_ = PageNumber(page);
}

QXRecordset::QXRecordset(const QXRecordset& other)
    : QXIOBase(other),
      position_(other.position_),
      pageSize_(other.pageSize_),
      currentPage_(other.currentPage_) {
    columns_.reserve(other.ColumnCount());
    for (const auto& column : other.columns_) {
        columns_.push_back(std::make_unique<QXColumn>(*column));
    }
}

QXRecordset& QXRecordset::operator=(const QXRecordset& other) {
    *this = QXRecordset(other);
    return *this;
}

std::size_t QXRecordset::FindColumn(std::wstring_view name) const {
    const std::string wanted = CQXBASE::WideToUtf8(name);
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (CQXBASE::SameAsciiWord(Column(i).NameUtf8(), wanted)) {
            return i;
        }
    }
    return npos;
}

std::size_t QXRecordset::Require(std::wstring_view name) const {
    const std::size_t index = FindColumn(name);
    if (index == npos) {
        throw std::out_of_range("the recordset has no column '" + CQXBASE::WideToUtf8(name) + "'");
    }
    return index;
}

void QXRecordset::RefuseCell(std::size_t row, std::size_t column) const {
    throw std::out_of_range("row " + std::to_string(row) + ", column " + std::to_string(column) +
                            " is outside the recordset of " + std::to_string(RowCount()) +
                            " rows and " + std::to_string(ColumnCount()) + " columns");
}

bool QXRecordset::GetBool(std::size_t row, std::size_t column) const {
    return ToBool(ViewOf(CellColumn(row, column), row));
}

std::int64_t QXRecordset::ConvertInt64(std::size_t row, std::size_t column) const {
    return ToInt64(ViewOf(*columns_[column], row));
}

double QXRecordset::ConvertDouble(std::size_t row, std::size_t column) const {
    return ToDouble(ViewOf(*columns_[column], row));
}

std::wstring QXRecordset::GetText(std::size_t row, std::size_t column) const {
    const ValueView view = ViewOf(CellColumn(row, column), row);
    return CQXBASE::Utf8ToWide(view.type == QXValueType::Text ? std::string(view.bytes)
                                                              : ToUtf8(view));
}

std::string QXRecordset::GetTextUtf8(std::size_t row, std::size_t column) const {
    return ToUtf8(ViewOf(CellColumn(row, column), row));
}

std::string_view QXRecordset::GetBytes(std::size_t row, std::size_t column) const {
    return ViewOf(CellColumn(row, column), row).bytes;
}

void QXRecordset::Clear() noexcept {
    columns_.clear();
    position_ = 0;
}

QXColumn& QXRecordset::AddColumn(std::string_view nameUtf8, QXValueType type) {
    return *columns_.emplace_back(std::make_unique<QXColumn>(nameUtf8, type));
}

void QXRecordset::FillDone() {
    for (const auto& column : columns_) {
        if (column->RowCount() != RowCount()) {
            throw std::logic_error("column '" + column->NameUtf8() + "' has " +
                                   std::to_string(column->RowCount()) + " rows, the first one " +
                                   std::to_string(RowCount()));
        }
        column->ShrinkToFit();
    }
    MoveFirst();
}

std::size_t QXRecordset::MemoryBytes() const noexcept {
    std::size_t bytes = 0;
    for (const auto& column : columns_) {
        bytes += column->MemoryBytes();
    }
    return bytes;
}

}  // namespace CQXDB
