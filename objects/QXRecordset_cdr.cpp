#include <qxdb/QXRecordset.h>

#include "objects/encoding/cdr_fields.h"
#include "objects/encoding/column_stream.h"
#include "objects/encoding/format_version.h"
#include "objects/encoding/read_whole.h"

namespace CQXDB {
namespace {

// Wire values.
constexpr std::uint32_t kLastPart = 0;
constexpr std::uint32_t kMoreParts = 1;

}  // namespace

int QXRecordset::toCDR(ACE_OutputCDR& out) const {
    return PartToCDR(out, true, true);
}

int QXRecordset::PartToCDR(ACE_OutputCDR& out, bool first, bool last) const {
    if (first && (!encoding::WriteVersion(out) || !CQXBASE::encoding::WriteLong(out, pageSize_) ||
                  !CQXBASE::encoding::WriteLong(out, currentPage_) ||
                  !CQXBASE::encoding::WriteCount(out, ColumnCount()))) {
        return 0;
    }
    if (!CQXBASE::encoding::WriteCount(out, RowCount())) {
        return 0;
    }
    encoding::ColumnWriter writer(out);
    for (const auto& column : columns_) {
        if (column->RowCount() != RowCount()) {
            return 0;
        }
        writer.Add(*column);
    }
    return writer.Finish() && CQXBASE::encoding::WriteULong(out, last ? kLastPart : kMoreParts);
}

int QXRecordset::fromCDR(ACE_InputCDR& in) {
    Clear();
    std::uint32_t columns = 0;
    if (!encoding::ReadVersion(in) || !CQXBASE::encoding::ReadLong(in, pageSize_) ||
        !CQXBASE::encoding::ReadLong(in, currentPage_) ||
        !CQXBASE::encoding::ReadULong(in, columns)) {
        return 0;
    }
    const auto read = [&] {
        const std::size_t whole = in.length();
        std::uint32_t more = kLastPart;
        do {
            const bool first = ColumnCount() == 0;
            if (!ReadPart(in, columns) || !CQXBASE::encoding::ReadULong(in, more) ||
                (more > kMoreParts && !CQXBASE::encoding::Refuse(in))) {
                return 0;
            }
            if (first && more == kMoreParts) {
                ReserveForRest(whole - in.length(), in.length());
            }
        } while (more == kMoreParts);
        FillDone();
        return 1;
    };
    return encoding::ReadWhole(read, [this] { Clear(); });
}

/// Guesses by the first part, which took `taken` bytes, what the `left` others will bring, so that
/// the columns need not grow step by step. A guess that is far from what travels is not believed.
void QXRecordset::ReserveForRest(std::size_t taken, std::size_t left) {
    constexpr double kMostExpansion = 16;
    const double times = 1.02 + static_cast<double>(left) / static_cast<double>(taken);
    if (static_cast<double>(MemoryBytes()) * times <=
        kMostExpansion * static_cast<double>(taken + left)) {
        for (const auto& column : columns_) {
            column->ReserveTimes(times);
        }
    }
}

/// Adds a part's rows behind those of the parts before. Only a recordset of one part may be without
/// columns or rows.
bool QXRecordset::ReadPart(ACE_InputCDR& in, std::uint32_t columns) {
    std::uint32_t rows = 0;
    const bool first = ColumnCount() == 0;
    if (!CQXBASE::encoding::ReadULong(in, rows)) {
        return false;
    }
    if (columns == 0 ? rows != 0 : rows == 0 && !first) {
        return CQXBASE::encoding::Refuse(in);
    }
    encoding::ColumnReader reader(in);
    for (std::uint32_t i = 0; i < columns; ++i) {
        QXColumn part;
        if (!reader.Read(part, rows)) {
            return false;
        }
        if (first) {
            AddColumn({}) = std::move(part);
        } else if (part.BytesSize() > QXColumn::kMaxBytes - Column(i).BytesSize()) {
            return CQXBASE::encoding::Refuse(in);
        } else {
            MutableColumn(i).AppendRows(std::move(part));
        }
    }
    return reader.Finish();
}

std::size_t QXRecordset::size() {
    encoding::ColumnsSize columns;
    for (const auto& column : columns_) {
        columns.Add(*column);
    }
    return 7 * CQXBASE::encoding::kNumberSize + columns.Total();  // one for alignment
}

}  // namespace CQXDB
