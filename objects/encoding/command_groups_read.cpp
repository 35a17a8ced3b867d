// Groups of commands out of columns that a peer sent.
#include <algorithm>

#include "objects/encoding/command_groups.h"
#include "objects/encoding/command_weights.h"

namespace CQXDB::encoding {
namespace {

bool HasOnly(const QXColumn& column, QXValueType type) {
    for (std::size_t row = 0; row < column.RowCount(); ++row) {
        if (column.TypeAt(row) != type) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool CommandGroups::ReadFrom(ColumnReader& reader, std::uint32_t commands, std::uint32_t groups) {
    return ReadTable(reader, groups) && reader.Read(order_, commands, kCommandWeight) &&
           CountRows() && ReadParams(reader);
}

bool CommandGroups::ReadTable(ColumnReader& reader, std::uint32_t groups) {
    QXColumn texts;
    QXColumn paramCounts;
    if (!reader.Read(texts, groups, kCommandWeight) || !HasOnly(texts, QXValueType::Text) ||
        !reader.Read(paramCounts, groups) || !HasOnly(paramCounts, QXValueType::Int64)) {
        return false;
    }
    groups_.resize(groups);
    for (std::size_t i = 0; i < groups; ++i) {
        groups_[i].text = std::make_shared<const std::string>(texts.BytesAt(i));
        groups_[i].paramCount = static_cast<std::size_t>(paramCounts.Int64At(i));
    }
    return true;
}

/// Every group has a command, or its columns would be empty ones.
bool CommandGroups::CountRows() {
    if (!HasOnly(order_, QXValueType::Int64)) {
        return false;
    }
    for (std::size_t i = 0; i < order_.RowCount(); ++i) {
        const auto index = static_cast<std::uint64_t>(order_.Int64At(i));
        if (index >= Count()) {
            return false;
        }
        ++groups_[index].rows;
    }
    return std::none_of(groups_.begin(), groups_.end(),
                        [](const CommandGroup& group) { return group.rows == 0; });
}

/// A number of parameters is as the peer says; each costs it a column that must be there.
bool CommandGroups::ReadParams(ColumnReader& reader) {
    for (CommandGroup& group : groups_) {
        for (std::size_t i = 0; i < group.paramCount; ++i) {
            if (!reader.Read(group.params.emplace_back(), group.rows, kParamWeight)) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace CQXDB::encoding
