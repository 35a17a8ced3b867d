#include "cli/output/vertical_writer.h"

#include <algorithm>

#include "cli/output/display_text.h"

namespace CQXCLI::output {

void VerticalWriter::Begin(const CQXDB::QXRecordset& rs) {
    names_.clear();
    rows_ = 0;
    std::size_t widest = 0;
    for (std::size_t i = 0; i < rs.ColumnCount(); ++i) {
        names_.push_back(EscapeForDisplay(rs.Column(i).NameUtf8()));
        widest = std::max(widest, DisplayWidth(names_.back()));
    }
    for (std::string& name : names_) {
        name.append(widest - DisplayWidth(name), ' ');
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
    std::string scratch;
    for (std::size_t i = 0; i < names_.size(); ++i) {
        out_ << names_[i] << " | ";
        out_ << (rs.IsNull(row, i) ? "NULL" : EscapeForDisplay(CellText(rs, row, i, scratch)));
        out_ << '\n';
    }
}

void VerticalWriter::End() {
    out_ << '(' << rows_ << (rows_ == 1 ? " row)\n" : " rows)\n");
}

}  // namespace CQXCLI::output
