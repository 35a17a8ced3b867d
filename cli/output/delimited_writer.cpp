#include "cli/output/delimited_writer.h"

#include <algorithm>

#include <csv.h>

#include "cli/output/display_text.h"

namespace CQXCLI::output {

namespace {

constexpr char kQuote = '"';

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
        switch (rs.TypeAt(row, i)) {
            case CQXDB::QXValueType::Null:
                Null();
                break;
            case CQXDB::QXValueType::Blob:
                Field(kHexPrefix);
                WriteHex(out_, rs.GetBytes(row, i));
                break;
            default:
                Field(CellText(rs, row, i, scratch_));
                break;
        }
    }
    out_ << lineEnd_;
}

void CsvWriter::Field(std::string_view text) {
    if (!text.empty() && text.find_first_of(",\"\r\n") == std::string_view::npos) {
        out_ << text;
        return;
    }
    out_ << kQuote;
    for (; !text.empty(); text.remove_prefix(std::min(text.size(), kPieceBytes))) {
        const std::string_view piece = text.substr(0, kPieceBytes);
        quoted_.resize(2 * piece.size() + 2);
        const std::size_t size =
            csv_write(quoted_.data(), quoted_.size(), piece.data(), piece.size());
        out_ << std::string_view(quoted_).substr(1, size - 2);  // without quotes of its own
    }
    out_ << kQuote;
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
