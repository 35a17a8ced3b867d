#include "cli/output/result_writer.h"

#include <algorithm>

#include "cli/output/delimited_writer.h"
#include "cli/output/json_writer.h"
#include "cli/output/table_writer.h"
#include "cli/output/vertical_writer.h"

namespace CQXCLI::output {

using CQXDB::QXValueType;

bool FindFormat(std::string_view name, Format& format) noexcept {
    constexpr std::string_view kNames[] = {"table", "csv", "tsv", "json", "vertical"};
    for (int i = 0; i < 5; ++i) {
        if (name == kNames[i]) {
            format = static_cast<Format>(i);
            return true;
        }
    }
    return false;
}

std::unique_ptr<ResultWriter> MakeWriter(Format format, std::ostream& out, bool header) {
    switch (format) {
        case Format::Csv:
            return std::make_unique<CsvWriter>(out, header);
        case Format::Tsv:
            return std::make_unique<TsvWriter>(out, header);
        case Format::Json:
            return std::make_unique<JsonWriter>(out);
        case Format::Vertical:
            return std::make_unique<VerticalWriter>(out);
        case Format::Table:
            break;
    }
    return std::make_unique<TableWriter>(out);
}

std::string_view CellText(const CQXDB::QXRecordset& rs, std::size_t row, std::size_t column,
                          std::string& scratch) {
    const QXValueType type = rs.TypeAt(row, column);
    if (type == QXValueType::Text || type == QXValueType::Decimal) {
        return rs.GetBytes(row, column);
    }
    scratch = rs.GetTextUtf8(row, column);
    return scratch;
}

void WriteHex(std::ostream& out, std::string_view bytes) {
    constexpr std::size_t kBytesAtOnce = std::size_t{4} * 1024;
    constexpr char kDigits[] = "0123456789abcdef";
    std::string digits;
    while (!bytes.empty()) {
        digits.clear();
        for (const char c : bytes.substr(0, kBytesAtOnce)) {
            const auto byte = static_cast<unsigned char>(c);
            digits += kDigits[byte >> 4U];
            digits += kDigits[byte & 15U];
        }
        out << digits;
        bytes.remove_prefix(std::min(bytes.size(), kBytesAtOnce));
    }
}

bool IsNumber(QXValueType type) noexcept {
    return type == QXValueType::Int64 || type == QXValueType::Double ||
           type == QXValueType::Decimal;
}

}  // namespace CQXCLI::output
