// Rows on their way while a query still runs.
#pragma once

#include <cstddef>
#include <functional>

#include <qxdb/QXRecordset.h>

namespace CQXDB {

/// Takes the rows of a query in parts, so that work on the first ones begins before the last ones
/// are read.
struct RowSink {
    std::size_t rows = 0;   ///< of a part
    std::size_t bytes = 0;  ///< in memory, for a part of fewer but larger rows
    /// Called on the query's thread whenever as much is there and another row follows. What it
    /// throws ends the query with an error.
    std::function<void(QXRecordset&& part)> take;

    bool Full(const QXRecordset& rs) const noexcept {
        return rs.RowCount() >= rows || rs.MemoryBytes() >= bytes;
    }
};

}  // namespace CQXDB
