#include <qxdb/QXCommandList.h>

#include "objects/column_head.h"
#include "objects/command_groups.h"
#include "objects/command_stamp.h"
#include "objects/command_weights.h"
#include "objects/format_version.h"

namespace CQXDB {

int QXCommandList::toCDR(ACE_OutputCDR& out) const {
    const CommandGroups groups(commands_);
    if (!WriteVersion(out) || !WriteStamp(out, dataSource_, token_, pageSize_, pageNo_) ||
        !CQXBASE::WriteCount(out, Count()) || !CQXBASE::WriteCount(out, groups.Count())) {
        return 0;
    }
    ColumnWriter writer(out);
    if (!Empty()) {
        groups.AddTo(writer);
    }
    return writer.Finish();
}

int QXCommandList::fromCDR(ACE_InputCDR& in) {
    RemoveAll();
    std::uint32_t count = 0;
    std::uint32_t groupCount = 0;
    if (!ReadVersion(in) || !ReadStamp(in, dataSource_, token_, pageSize_, pageNo_) ||
        !CQXBASE::ReadULong(in, count) || !CQXBASE::ReadULong(in, groupCount)) {
        return 0;
    }
    if (count == 0 || groupCount == 0) {
        return count == groupCount ? in.good_bit() : CQXBASE::Refuse(in);
    }
    CommandGroups groups;
    ColumnReader reader(in);
    if (!groups.ReadFrom(reader, count, groupCount) || !reader.Finish()) {
        return CQXBASE::Refuse(in);
    }
    TakeCommands(groups);
    return 1;
}

void QXCommandList::TakeCommands(CommandGroups& groups) {
    std::vector<std::size_t> next(groups.Count());  // the row of each group's next command
    commands_.reserve(groups.Order().RowCount());
    for (std::size_t i = 0; i < groups.Order().RowCount(); ++i) {
        const auto index = static_cast<std::size_t>(groups.Order().Int64At(i));
        const CommandGroup& group = groups.Groups()[index];
        QXCommand& command = commands_.emplace_back();
        command.text_ = group.text;
        command.params_.reserve(group.params.size());
        for (const QXColumn& column : group.params) {
            command.params_.push_back(column.Get(next[index]));
        }
        ++next[index];
    }
}

/// An upper bound without sorting the commands into groups: what they would take with a group for
/// each run of commands that share a text, and every number at its full width.
std::size_t QXCommandList::size() {
    constexpr std::size_t kColumn = 48;  // head, base numbers, last byte of the null bitmap
    constexpr std::size_t kCell = 10;    // number, type where they differ, null
    std::size_t plain = 3 * kColumn;
    std::uint64_t charged = 3 * ExpansionOf(0, 0);
    const std::string* text = nullptr;
    std::size_t params = 0;
    for (const QXCommand& command : commands_) {
        if (text != command.SharedText().get() || params != command.Params().size()) {
            text = command.SharedText().get();
            params = command.Params().size();
            plain += text->size() + 2 * kCell + params * kColumn;
            charged +=
                text->size() + 2 * ExpansionOf(1, kCommandWeight) + params * ExpansionOf(0, 0);
        }
        plain += kCell;
        charged += kCell + kCommandWeight;
        for (const QXValue& param : command.Params()) {
            plain += kCell + param.Bytes().size();
            charged += kCell + kParamWeight + param.Bytes().size();
        }
    }
    const std::size_t columns = Empty() ? 0 : ColumnsBound(plain, charged);
    return 3 * CQXBASE::kNumberSize + StampSize(dataSource_, token_) + columns;
}

}  // namespace CQXDB
