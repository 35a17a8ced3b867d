#include "cli/output/table_writer.h"

#include <algorithm>

#include "cli/output/display_text.h"
#include "cli/output/shown_cell.h"

namespace CQXCLI::output {

namespace {

void Widen(std::size_t& column, std::size_t cell) noexcept {
    if (cell <= kWidestAligned) {
        column = std::max(column, cell);
    }
}

/// The cell between the blanks that bring it to the column's width.
template <typename Write>
void Align(std::ostream& out, std::size_t width, std::size_t cell, bool right, bool last,
           Write write) {
    const std::size_t padding = width - std::min(width, cell);
    WriteBlanks(out, right ? padding : 0);
    write();
    WriteBlanks(out, right || last ? 0 : padding);
}

const char* Before(std::size_t column) noexcept {
    return column == 0 ? " " : " | ";
}

}  // namespace

void TableWriter::Begin(const CQXDB::QXRecordset& rs) {
    Measure(rs);
    rows_ = 0;
    out_ << (separate_ ? "\n" : "");
    separate_ = true;
    PrintNames(rs);
}

void TableWriter::Measure(const CQXDB::QXRecordset& rs) {
    widths_.assign(rs.ColumnCount(), 0);
    for (std::size_t i = 0; i < widths_.size(); ++i) {
        Widen(widths_[i], EscapedWidth(rs.Column(i).NameUtf8(), kWidestAligned));
        for (std::size_t row = 0; row < rs.RowCount(); ++row) {
            Widen(widths_[i], ShownCell(rs, row, i, scratch_).Width(kWidestAligned));
        }
    }
}

void TableWriter::PrintNames(const CQXDB::QXRecordset& rs) {
    for (std::size_t i = 0; i < widths_.size(); ++i) {
        const std::string_view name = rs.Column(i).NameUtf8();
        out_ << Before(i);
        Align(out_, widths_[i], EscapedWidth(name, kWidestAligned), IsNumber(rs.ColumnType(i)),
              i + 1 == widths_.size(), [&] { WriteEscaped(out_, name); });
    }
    out_ << '\n';
    for (std::size_t i = 0; i < widths_.size(); ++i) {
        out_ << (i == 0 ? "" : "+") << std::string(widths_[i] + 2, '-');
    }
    out_ << '\n';
}

void TableWriter::Rows(const CQXDB::QXRecordset& rs) {
    for (std::size_t row = 0; row < rs.RowCount(); ++row) {
        PrintRow(rs, row);
    }
    rows_ += rs.RowCount();
}

void TableWriter::PrintRow(const CQXDB::QXRecordset& rs, std::size_t row) {
    for (std::size_t i = 0; i < widths_.size(); ++i) {
        const ShownCell cell(rs, row, i, scratch_);
        out_ << Before(i);
        Align(out_, widths_[i], cell.Width(kWidestAligned), cell.ToTheRight(),
              i + 1 == widths_.size(), [&] { cell.Write(out_); });
    }
    out_ << '\n';
}

void TableWriter::End() {
    out_ << '(' << rows_ << (rows_ == 1 ? " row)\n" : " rows)\n");
}

}  // namespace CQXCLI::output
