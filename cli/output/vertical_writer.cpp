#include "cli/output/vertical_writer.h"

#include <algorithm>

#include "cli/output/display_text.h"
#include "cli/output/shown_cell.h"

namespace CQXCLI::output {

void VerticalWriter::Begin(const CQXDB::QXRecordset& rs) {
    rows_ = 0;
    width_ = 0;
    for (std::size_t i = 0; i < rs.ColumnCount(); ++i) {
        const std::size_t name = EscapedWidth(rs.Column(i).NameUtf8(), kWidestAligned);
        width_ = std::max(width_, name <= kWidestAligned ? name : 0);
    }
    out_ << (separate_ ? "\n" : "");
    separate_ = true;
}

void VerticalWriter::Rows(const CQXDB::QXRecordset& rs) {
    for (std::size_t row = 0; row < rs.RowCount(); ++row) {
        ++rows_;
        out_ << "-[ " << rows_ << " ]" << std::string(40, '-') << '\n';
        Row(rs, row);
    }
}

void VerticalWriter::Row(const CQXDB::QXRecordset& rs, std::size_t row) {
    for (std::size_t i = 0; i < rs.ColumnCount(); ++i) {
        const std::string_view name = rs.Column(i).NameUtf8();
        WriteEscaped(out_, name);
        WriteBlanks(out_, width_ - std::min(width_, EscapedWidth(name, kWidestAligned)));
        out_ << " | ";
        ShownCell(rs, row, i, scratch_).Write(out_);
        out_ << '\n';
    }
}

void VerticalWriter::End() {
    out_ << '(' << rows_ << (rows_ == 1 ? " row)\n" : " rows)\n");
}

}  // namespace CQXCLI::output
