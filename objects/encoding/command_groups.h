// The commands of a list sorted by statement and number of parameters, the form in which they
// travel: each statement text once, the parameters of its commands column by column.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <qxdb/QXColumn.h>
#include <qxdb/QXCommand.h>

#include "objects/encoding/column_stream.h"

namespace CQXDB::encoding {

/// Commands of one statement text and one number of parameters.
struct CommandGroup {
    std::shared_ptr<const std::string> text;  ///< UTF-8; shared with the commands
    std::vector<QXColumn> params;             ///< a column a parameter, a row a command
    std::size_t paramCount = 0;
    std::size_t rows = 0;
};

/// A list's groups in the order of their first commands, and the group of each command.
class CommandGroups {
  public:
    CommandGroups() = default;
    /// Sorts the commands.
    explicit CommandGroups(const std::vector<QXCommand>& commands);

    std::size_t Count() const noexcept { return groups_.size(); }

    /// Hands the columns over in wire order, to a ColumnWriter or a ColumnsSize.
    template <class Columns>
    void AddTo(Columns& columns) const;
    /// Reads what AddTo wrote for `commands` commands in `groups` groups.
    bool ReadFrom(ColumnReader& reader, std::uint32_t commands, std::uint32_t groups);

    const QXColumn& Order() const noexcept { return order_; }
    const std::vector<CommandGroup>& Groups() const noexcept { return groups_; }

  private:
    bool ReadTable(ColumnReader& reader, std::uint32_t groups);
    bool CountRows();
    bool ReadParams(ColumnReader& reader);

    std::vector<CommandGroup> groups_;
    QXColumn order_;  ///< the index of each command's group
};

}  // namespace CQXDB::encoding
