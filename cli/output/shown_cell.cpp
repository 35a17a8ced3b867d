#include "cli/output/shown_cell.h"

#include "cli/output/display_text.h"
#include "cli/output/result_writer.h"

namespace CQXCLI::output {

using CQXDB::QXValueType;

ShownCell::ShownCell(const CQXDB::QXRecordset& rs, std::size_t row, std::size_t column,
                     std::string& scratch) {
    const QXValueType type = rs.TypeAt(row, column);
    blob_ = type == QXValueType::Blob;
    toTheRight_ = IsNumber(type == QXValueType::Null ? rs.ColumnType(column) : type);
    text_ = type == QXValueType::Null ? "NULL"
            : blob_                   ? rs.GetBytes(row, column)
                                      : CellText(rs, row, column, scratch);
}

std::size_t ShownCell::Width(std::size_t most) const {
    return blob_ ? kHexPrefix.size() + 2 * text_.size() : EscapedWidth(text_, most);
}

void ShownCell::Write(std::ostream& out) const {
    if (blob_) {
        out << kHexPrefix;
        WriteHex(out, text_);
    } else {
        WriteEscaped(out, text_);
    }
}

}  // namespace CQXCLI::output
