#include <qxdb/QXRecordset.h>

#include "objects/cdr_fields.h"
#include "objects/column_stream.h"
#include "objects/format_version.h"

namespace CQXDB {

int QXRecordset::toCDR(ACE_OutputCDR& out) const {
    if (!WriteVersion(out) || !CQXBASE::WriteLong(out, pageSize_) ||
        !CQXBASE::WriteLong(out, currentPage_) || !CQXBASE::WriteCount(out, ColumnCount()) ||
        !CQXBASE::WriteCount(out, RowCount())) {
        return 0;
    }
    ColumnWriter writer(out);
    for (const auto& column : columns_) {
        if (column->RowCount() != RowCount()) {
            return 0;
        }
        writer.Add(*column);
    }
    return writer.Finish();
}

int QXRecordset::fromCDR(ACE_InputCDR& in) {
    Clear();
    std::uint32_t columns = 0;
    std::uint32_t rows = 0;
    if (!ReadVersion(in) || !CQXBASE::ReadLong(in, pageSize_) ||
        !CQXBASE::ReadLong(in, currentPage_) || !CQXBASE::ReadULong(in, columns) ||
        !CQXBASE::ReadULong(in, rows)) {
        return 0;
    }
    if (columns == 0 && rows != 0) {
        return CQXBASE::Refuse(in);
    }
    ColumnReader reader(in);
    for (std::uint32_t i = 0; i < columns; ++i) {
        if (!reader.Read(AddColumn({}), rows)) {
            Clear();
            return 0;
        }
    }
    return reader.Finish();
}

std::size_t QXRecordset::size() {
    ColumnsSize columns;
    for (const auto& column : columns_) {
        columns.Add(*column);
    }
    return 5 * CQXBASE::kNumberSize + columns.Total();
}

}  // namespace CQXDB
