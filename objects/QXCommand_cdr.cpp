#include <qxdb/QXCommand.h>

#include "objects/column_stream.h"
#include "objects/command_stamp.h"
#include "objects/command_weights.h"
#include "objects/format_version.h"

namespace CQXDB {
namespace {

/// The parameters as one column, a row each.
QXColumn AsColumn(const std::vector<QXValue>& params) {
    QXColumn column;
    for (const QXValue& param : params) {
        column.Append(param);
    }
    return column;
}

}  // namespace

int QXCommand::toCDR(ACE_OutputCDR& out) const {
    if (!WriteVersion(out) || !WriteStamp(out, SysDataSrc(), token_, pageSize_, pageNo_) ||
        !CQXBASE::WriteNarrow(out, TextUtf8()) || !CQXBASE::WriteCount(out, params_.size())) {
        return 0;
    }
    ColumnWriter writer(out);
    if (!params_.empty()) {
        writer.Add(AsColumn(params_), kParamWeight);
    }
    return writer.Finish();
}

int QXCommand::fromCDR(ACE_InputCDR& in) {
    QXDataSource dataSource;
    std::string text;
    std::uint32_t count = 0;
    ClearParams();
    if (!ReadVersion(in) || !ReadStamp(in, dataSource, token_, pageSize_, pageNo_) ||
        !CQXBASE::ReadNarrow(in, text) || !CQXBASE::ReadULong(in, count)) {
        return 0;
    }
    text_ = std::make_shared<const std::string>(std::move(text));
    dataSource_ = std::make_shared<const QXDataSource>(std::move(dataSource));
    if (count == 0) {
        return in.good_bit();
    }
    QXColumn column;
    ColumnReader reader(in);
    if (!reader.Read(column, count, kParamWeight)) {
        return 0;
    }
    params_.reserve(count);
    for (std::size_t row = 0; row < count; ++row) {
        params_.push_back(column.Get(row));
    }
    return reader.Finish();
}

std::size_t QXCommand::size() {
    ColumnsSize columns;
    if (!params_.empty()) {
        columns.Add(AsColumn(params_), kParamWeight);
    }
    return 2 * CQXBASE::kNumberSize + StampSize(SysDataSrc(), token_) +
           CQXBASE::NarrowSize(TextUtf8()) + columns.Total();
}

}  // namespace CQXDB
