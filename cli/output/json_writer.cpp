#include "cli/output/json_writer.h"

#include <set>
#include <string_view>

#include <Poco/JSONString.h>

#include "cli/output/display_text.h"
#include "util/ascii.h"

namespace CQXCLI::output {

using CQXDB::QXValueType;

namespace {

std::string Quote(std::string_view text) {
    return Poco::toJSON(ToValidUtf8(text), static_cast<int>(Poco::JSON_WRAP_STRINGS));
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
        keys_.push_back(Quote(UniqueName(rs.Column(i).NameUtf8(), taken)) + ':');
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
        out_ << (i == 0 ? "{" : ",") << keys_[i];
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
    const std::string_view text = CellText(rs, row, column, scratch_);
    const std::string number = IsNumber(type) ? JsonNumber(text) : std::string();
    if (!number.empty()) {
        out_ << number;
    } else if (type == QXValueType::Bool) {
        out_ << text;
    } else {
        out_ << Quote(text);
    }
}

}  // namespace CQXCLI::output
