#include <qxdb/QXCommandList.h>

#include "objects/column_head.h"
#include "objects/command_groups.h"
#include "objects/command_stamp.h"
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

std::size_t QXCommandList::size() {
    ColumnsSize columns;
    if (!Empty()) {
        CommandGroups(commands_).AddTo(columns);
    }
    return 3 * CQXBASE::kNumberSize + StampSize(dataSource_, token_) + columns.Total();
}

}  // namespace CQXDB
