#include "cli/output/json_writer.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <set>
#include <string_view>
#include <utility>

#include <Poco/JSONString.h>

#include "cli/output/display_text.h"
#include "util/ascii.h"
#include "util/printable.h"
#include "util/unicode.h"

namespace CQXCLI::output {

using CQXDB::QXValueType;

namespace {

/// The inside of a JSON text. Beside what JSON requires, control characters that a terminal obeys
/// are escaped; a reader gets them as they were.
std::string Escaped(std::string_view text) {
    std::string json = Poco::toJSON(ToValidUtf8(text), 0);
    std::string_view rest = json;
    if (std::all_of(rest.begin(), rest.end(), [](char c) { return c >= 0 && c != '\x7F'; })) {
        return json;
    }
    std::string escaped;
    while (!rest.empty()) {
        const CQXBASE::Utf8Point next = CQXBASE::FirstPoint(rest);
        if (CQXBASE::IsControl(next.point)) {
            std::array<char, 8> code{};
            std::snprintf(code.data(), code.size(), "\\u%04x", static_cast<unsigned>(next.point));
            escaped += code.data();
        } else {
            escaped += rest.substr(0, next.length);
        }
        rest.remove_prefix(next.length);
    }
    return escaped;
}

void WriteQuoted(std::ostream& out, std::string_view text) {
    out << '"';
    while (!text.empty()) {
        const std::string_view piece = FirstPiece(text);
        out << Escaped(piece);
        text.remove_prefix(piece.size());
    }
    out << '"';
}

std::string UniqueName(const std::string& name, std::set<std::string>& taken) {
    std::string unique = name;
    for (int i = 2; !taken.insert(unique).second; ++i) {
        unique = name + '_' + std::to_string(i);
    }
    return unique;
}

/// A number as JSON writes it ("-.50" as "-0.50"), or "" for what is no finite number.
std::string JsonNumber(std::string_view text) {
    std::string number(!text.empty() && text[0] == '-' ? "-" : "");
    text.remove_prefix(!text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0);
    while (text.size() > 1 && text[0] == '0' && CQXBASE::IsAsciiDigit(text[1])) {
        text.remove_prefix(1);
    }
    if (text.find_first_not_of("0123456789.eE+-") != std::string_view::npos || text.empty()) {
        return {};
    }
    number += (text[0] == '.' ? "0" : "") + std::string(text);
    return number + (number.back() == '.' ? "0" : "");
}

}  // namespace

void JsonWriter::Begin(const CQXDB::QXRecordset& rs) {
    keys_.clear();
    std::set<std::string> taken;
    for (std::size_t i = 0; i < rs.ColumnCount(); ++i) {
        std::string name = UniqueName(rs.Column(i).NameUtf8(), taken);
        const bool quoted = name.size() <= kPieceBytes;
        keys_.push_back({quoted ? '"' + Escaped(name) + '"' : std::move(name), quoted});
    }
    first_ = true;
    out_ << '[';
}

void JsonWriter::Rows(const CQXDB::QXRecordset& rs) {
    for (std::size_t row = 0; row < rs.RowCount(); ++row) {
        out_ << (first_ ? "\n" : ",\n");
        first_ = false;
        Row(rs, row);
    }
}

void JsonWriter::End() {
    out_ << (first_ ? "]\n" : "\n]\n");
}

void JsonWriter::Row(const CQXDB::QXRecordset& rs, std::size_t row) {
    for (std::size_t i = 0; i < keys_.size(); ++i) {
        out_ << (i == 0 ? "{" : ",");
        if (keys_[i].quoted) {
            out_ << keys_[i].text;
        } else {
            WriteQuoted(out_, keys_[i].text);
        }
        out_ << ':';
        Cell(rs, row, i);
    }
    out_ << '}';
}

void JsonWriter::Cell(const CQXDB::QXRecordset& rs, std::size_t row, std::size_t column) {
    const QXValueType type = rs.TypeAt(row, column);
    if (type == QXValueType::Null) {
        out_ << "null";
        return;
    }
    if (type == QXValueType::Blob) {
        out_ << "\"\\" << kHexPrefix;
        WriteHex(out_, rs.GetBytes(row, column));
        out_ << '"';
        return;
    }
    const std::string_view text = CellText(rs, row, column, scratch_);
    const std::string number = IsNumber(type) ? JsonNumber(text) : std::string();
    if (!number.empty()) {
        out_ << number;
    } else if (type == QXValueType::Bool) {
        out_ << text;
    } else {
        WriteQuoted(out_, text);
    }
}

}  // namespace CQXCLI::output
