#include "cli/output/table_writer.h"

#include <algorithm>
#include <utility>

#include "cli/output/display_text.h"

namespace CQXCLI::output {

namespace {

void Blanks(std::ostream& out, std::size_t count) {
    out << std::string(count, ' ');
}

}  // namespace

void TableWriter::Begin(const CQXDB::QXRecordset& rs) {
    lines_.clear();
    widths_.assign(rs.ColumnCount(), 0);
    Line names;
    for (std::size_t i = 0; i < rs.ColumnCount(); ++i) {
        names.push_back({EscapeForDisplay(rs.Column(i).NameUtf8()), 0, IsNumber(rs.ColumnType(i))});
    }
    Add(std::move(names));
}

void TableWriter::Rows(const CQXDB::QXRecordset& rs) {
    std::string scratch;
    for (std::size_t row = 0; row < rs.RowCount(); ++row) {
        Line line(widths_.size());
        for (std::size_t i = 0; i < line.size(); ++i) {
            const bool null = rs.IsNull(row, i);
            line[i].text = null ? "NULL" : EscapeForDisplay(CellText(rs, row, i, scratch));
            line[i].right = IsNumber(null ? rs.ColumnType(i) : rs.TypeAt(row, i));
        }
        Add(std::move(line));
    }
}

void TableWriter::Add(Line line) {
    for (std::size_t i = 0; i < line.size(); ++i) {
        line[i].width = DisplayWidth(line[i].text);
        widths_[i] = std::max(widths_[i], line[i].width);
    }
    lines_.push_back(std::move(line));
}

void TableWriter::End() {
    out_ << (separate_ ? "\n" : "");
    separate_ = true;
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        Print(lines_[i]);
        if (i == 0) {
            PrintRule();
        }
    }
    const std::size_t rows = lines_.size() - 1;
    out_ << '(' << rows << (rows == 1 ? " row)\n" : " rows)\n");
    lines_.clear();
}

void TableWriter::Print(const Line& line) {
    for (std::size_t i = 0; i < line.size(); ++i) {
        const Cell& cell = line[i];
        const std::size_t padding = widths_[i] - cell.width;
        out_ << (i == 0 ? " " : " | ");
        Blanks(out_, cell.right ? padding : 0);
        out_ << cell.text;
        Blanks(out_, cell.right || i + 1 == line.size() ? 0 : padding);
    }
    out_ << '\n';
}

void TableWriter::PrintRule() {
    for (std::size_t i = 0; i < widths_.size(); ++i) {
        out_ << (i == 0 ? "" : "+") << std::string(widths_[i] + 2, '-');
    }
    out_ << '\n';
}

}  // namespace CQXCLI::output
