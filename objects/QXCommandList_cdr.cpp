#include <atomic>
#include <memory>

#include <qxdb/QXCommandList.h>

#include "objects/encoding/column_head.h"
#include "objects/encoding/command_groups.h"
#include "objects/encoding/format_version.h"

namespace CQXDB {

int QXCommandList::toCDR(ACE_OutputCDR& out) const {
    const Groups groups = Sorted();
    if (!encoding::WriteVersion(out) || !WriteStamp(out) ||
        !CQXBASE::encoding::WriteCount(out, Count()) ||
        !CQXBASE::encoding::WriteCount(out, groups->Count())) {
        return 0;
    }
    encoding::ColumnWriter writer(out);
    if (!Empty()) {
        groups->AddTo(writer);
    }
    return writer.Finish();
}

int QXCommandList::fromCDR(ACE_InputCDR& in) {
    RemoveAll();
    std::uint32_t count = 0;
    std::uint32_t groupCount = 0;
    if (!encoding::ReadVersion(in) || !ReadStamp(in) || !CQXBASE::encoding::ReadULong(in, count) ||
        !CQXBASE::encoding::ReadULong(in, groupCount)) {
        return 0;
    }
    if (count == 0 || groupCount == 0) {
        return count == groupCount ? in.good_bit() : CQXBASE::encoding::Refuse(in);
    }
    const auto groups = std::make_shared<encoding::CommandGroups>();
    encoding::ColumnReader reader(in);
    if (!groups->ReadFrom(reader, count, groupCount) || !reader.Finish()) {
        return CQXBASE::encoding::Refuse(in);
    }
    columns_ = groups;
    folded_ = count;
    if (!keepsColumns_) {
        MakeCommands();
    }
    return 1;
}

void QXCommandList::RemoveAll() noexcept {
    commands_.clear();
    columns_.reset();
    sorted_.groups.reset();
    lent_ = false;
}

void QXCommandList::MakeCommands() const {
    const encoding::CommandGroups& groups = *columns_;
    std::vector<std::size_t> next(groups.Count());  // the row of each group's next command
    std::vector<QXCommand> commands;
    commands.reserve(folded_);
    for (std::size_t i = 0; i < folded_; ++i) {
        const auto index = static_cast<std::size_t>(groups.Order().Int64At(i));
        const encoding::CommandGroup& group = groups.Groups()[index];
        QXCommand& command = commands.emplace_back();
        command.text_ = group.text;
        command.params_.reserve(group.params.size());
        for (const QXColumn& column : group.params) {
            command.params_.push_back(column.Get(next[index]));
        }
        ++next[index];
    }
    commands_.swap(commands);
    columns_.reset();
}

/// The commands in columns. They are sorted once for a size() and the toCDR behind it, which lets
/// go of them: several threads may encode one list.
QXCommandList::Groups QXCommandList::Sorted() const {
    if (columns_) {
        return columns_;
    }
    Groups sorted = std::atomic_exchange(&sorted_.groups, Groups());
    return sorted ? sorted : std::make_shared<const encoding::CommandGroups>(commands_);
}

std::size_t QXCommandList::size() {
    encoding::ColumnsSize columns;
    if (!Empty()) {
        const Groups groups = Sorted();
        groups->AddTo(columns);
        if (!columns_ && !lent_) {
            std::atomic_store(&sorted_.groups, groups);
        }
    }
    return 3 * CQXBASE::encoding::kNumberSize + StampSize() + columns.Total();
}

}  // namespace CQXDB
