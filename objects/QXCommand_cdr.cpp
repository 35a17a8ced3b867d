#include <qxdb/QXCommand.h>

#include "objects/encoding/cdr_fields.h"
#include "objects/encoding/column_stream.h"
#include "objects/encoding/command_weights.h"
#include "objects/encoding/format_version.h"

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

/// At least what a block of AsColumn takes, without a copy of what may be large: for each parameter
/// a type and 8 bytes of number or length, and its text or blob.
std::size_t ParamsBound(const std::vector<QXValue>& params) {
    constexpr std::size_t kHeads = 48;  // of the block, the column and its numbers
    std::size_t bytes = params.empty() ? 0 : kHeads;
    for (const QXValue& param : params) {
        bytes += 1 + sizeof(std::int64_t) + param.Bytes().size();
    }
    return bytes;
}

}  // namespace

int QXCommand::toCDR(ACE_OutputCDR& out) const {
    if (!encoding::WriteVersion(out) || !WriteStamp(out) ||
        !CQXBASE::encoding::WriteNarrow(out, TextUtf8()) ||
        !CQXBASE::encoding::WriteCount(out, params_.size())) {
        return 0;
    }
    encoding::ColumnWriter writer(out);
    if (!params_.empty()) {
        writer.Add(AsColumn(params_), encoding::kParamWeight);
    }
    return writer.Finish();
}

int QXCommand::fromCDR(ACE_InputCDR& in) {
    std::string text;
    std::uint32_t count = 0;
    ClearParams();
    if (!encoding::ReadVersion(in) || !ReadStamp(in) || !CQXBASE::encoding::ReadNarrow(in, text) ||
        !CQXBASE::encoding::ReadULong(in, count)) {
        return 0;
    }
    text_ = std::make_shared<const std::string>(std::move(text));
    if (count == 0) {
        return in.good_bit();
    }
    QXColumn column;
    encoding::ColumnReader reader(in);
    if (!reader.Read(column, count, encoding::kParamWeight)) {
        return 0;
    }
    params_.reserve(count);
    for (std::size_t row = 0; row < count; ++row) {
        params_.push_back(column.Get(row));
    }
    return reader.Finish();
}

std::size_t QXCommand::size() {
    return 2 * CQXBASE::encoding::kNumberSize + StampSize() +
           CQXBASE::encoding::NarrowSize(TextUtf8()) + ParamsBound(params_);
}

}  // namespace CQXDB
