#include "objects/encoding/command_groups.h"

#include <functional>
#include <string_view>
#include <unordered_map>

#include "objects/encoding/command_weights.h"

namespace CQXDB::encoding {
namespace {

struct Key {
    std::string_view text;
    std::size_t params;

    bool operator==(const Key& other) const noexcept {
        return params == other.params && text == other.text;
    }
};

struct KeyHash {
    std::size_t operator()(const Key& key) const noexcept {
        return std::hash<std::string_view>()(key.text) ^ key.params * 0x9E3779B97F4A7C15U;
    }
};

void AddCommand(CommandGroup& group, const QXCommand& command) {
    for (std::size_t i = 0; i < group.params.size(); ++i) {
        group.params[i].Append(command.Params()[i]);
    }
    ++group.rows;
}

}  // namespace

CommandGroups::CommandGroups(const std::vector<QXCommand>& commands) {
    std::unordered_map<Key, std::size_t, KeyHash> known;
    std::size_t index = 0;
    for (const QXCommand& command : commands) {
        const std::size_t params = command.Params().size();
        // Most commands are like the one before, whose text they share.
        if (Count() == 0 || groups_[index].text != command.SharedText() ||
            groups_[index].paramCount != params) {
            const auto [place, isNew] = known.try_emplace({command.TextUtf8(), params}, Count());
            if (isNew) {
                groups_.push_back({command.SharedText(), std::vector<QXColumn>(params), params, 0});
            }
            index = place->second;
        }
        AddCommand(groups_[index], command);
        order_.AppendInt64(static_cast<std::int64_t>(index));
    }
}

template <class Columns>
void CommandGroups::AddTo(Columns& columns) const {
    QXColumn texts;
    QXColumn paramCounts;
    for (const CommandGroup& group : groups_) {
        texts.AppendBytes(*group.text, QXValueType::Text);
        paramCounts.AppendInt64(static_cast<std::int64_t>(group.paramCount));
    }
    columns.Add(texts, kCommandWeight);
    columns.Add(paramCounts);
    columns.Add(order_, kCommandWeight);
    for (const CommandGroup& group : groups_) {
        for (const QXColumn& column : group.params) {
            columns.Add(column, kParamWeight);
        }
    }
}

template void CommandGroups::AddTo(ColumnWriter& columns) const;
template void CommandGroups::AddTo(ColumnsSize& columns) const;

}  // namespace CQXDB::encoding
