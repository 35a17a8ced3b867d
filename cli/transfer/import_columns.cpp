#include "cli/transfer/import_columns.h"

#include <algorithm>

#include "cli/exit_status.h"
#include "cli/parameters.h"
#include "util/ascii.h"

namespace CQXCLI::transfer {

using CQXBASE::SameAsciiWord;

using CQXDB::QXValue;
using CQXDB::QXValueType;

namespace {

[[noreturn]] void Refuse(const CsvRow& header, const std::string& what) {
    throw CliError(kFailed, "line " + std::to_string(header.line) + ": " + what);
}

std::string NamesOf(const std::vector<TargetColumn>& columns) {
    std::string names;
    for (const TargetColumn& column : columns) {
        names += (names.empty() ? "" : ", ") + column.name;
    }
    return names;
}

template <typename Same>
const TargetColumn* Find(const std::vector<TargetColumn>& columns, Same same) {
    const auto found = std::find_if(columns.begin(), columns.end(), same);
    return found == columns.end() ? nullptr : &*found;
}

const TargetColumn& FindColumn(const std::vector<TargetColumn>& columns, const std::string& name,
                               const CsvRow& header) {
    const TargetColumn* column = Find(columns, [&](const auto& each) { return each.name == name; });
    if (column == nullptr) {
        column = Find(columns, [&](const auto& each) { return SameAsciiWord(each.name, name); });
    }
    if (column == nullptr) {
        Refuse(header, "the table has no column \"" + name + "\"; it has " + NamesOf(columns));
    }
    return *column;
}

}  // namespace

std::vector<TargetColumn> AllColumns(const CQXDB::QXRecordset& table) {
    std::vector<TargetColumn> columns;
    for (std::size_t i = 0; i < table.ColumnCount(); ++i) {
        columns.push_back({table.Column(i).NameUtf8(), table.ColumnType(i)});
    }
    return columns;
}

std::vector<TargetColumn> NamedColumns(const CQXDB::QXRecordset& table, const CsvRow& header) {
    const std::vector<TargetColumn> all = AllColumns(table);
    std::vector<TargetColumn> named;
    for (const CsvField& field : header.fields) {
        const TargetColumn& column = FindColumn(all, field.text, header);
        if (Find(named, [&](const auto& each) { return each.name == column.name; }) != nullptr) {
            Refuse(header, "the column \"" + column.name + "\" is named twice");
        }
        named.push_back(column);
    }
    return named;
}

QXValue ToValue(const CsvField& field, QXValueType type) {
    QXValue value;
    if (!field.null && !ParseAs(type, field.text, value)) {
        value = QXValue::TextUtf8(field.text);
    }
    return value;
}

}  // namespace CQXCLI::transfer
