#include "cli/output/delimited_writer.h"

#include <csv.h>

namespace CQXCLI::output {

namespace {

std::string_view TsvEscape(char c) noexcept {
    switch (c) {
        case '\t':
            return "\\t";
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        default:
            return "\\\\";
    }
}

}  // namespace

void DelimitedWriter::Begin(const CQXDB::QXRecordset& rs) {
    if (separate_) {
        out_ << lineEnd_;
    }
    for (std::size_t i = 0; header_ && i < rs.ColumnCount(); ++i) {
        if (i > 0) {
            out_ << delimiter_;
        }
        Field(rs.Column(i).NameUtf8());
    }
    out_ << (header_ ? lineEnd_ : "");
}

void DelimitedWriter::Rows(const CQXDB::QXRecordset& rs) {
    for (std::size_t row = 0; row < rs.RowCount(); ++row) {
        Row(rs, row);
    }
}

void DelimitedWriter::Row(const CQXDB::QXRecordset& rs, std::size_t row) {
    for (std::size_t i = 0; i < rs.ColumnCount(); ++i) {
        if (i > 0) {
            out_ << delimiter_;
        }
        if (rs.IsNull(row, i)) {
            Null();
        } else {
            Field(CellText(rs, row, i, scratch_));
        }
    }
    out_ << lineEnd_;
}

void CsvWriter::Field(std::string_view text) {
    if (!text.empty() && text.find_first_of(",\"\r\n") == std::string_view::npos) {
        out_ << text;
        return;
    }
    quoted_.resize(2 * text.size() + 2);
    const char* source = text.empty() ? "" : text.data();
    const std::size_t size = csv_write(quoted_.data(), quoted_.size(), source, text.size());
    out_ << std::string_view(quoted_).substr(0, size);
}

void TsvWriter::Field(std::string_view text) {
    constexpr std::string_view kSpecial = "\t\n\r\\";
    for (std::size_t at = text.find_first_of(kSpecial); at != std::string_view::npos;
         at = text.find_first_of(kSpecial)) {
        out_ << text.substr(0, at) << TsvEscape(text[at]);
        text.remove_prefix(at + 1);
    }
    out_ << text;
}

}  // namespace CQXCLI::output
