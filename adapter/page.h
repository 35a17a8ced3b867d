// Which rows of a result a query wants.
#pragma once

#include <cstdint>

#include <qxdb/QXRecordset.h>

namespace CQXDB::adapter {

/// Rows `first` to `first + count - 1`, counted from 0.
struct Page {
    static constexpr std::int64_t kAllRows = INT64_MAX;

    std::int64_t first = 0;
    std::int64_t count = kAllRows;

    bool All() const noexcept { return count == kAllRows; }

    /// Throws DatabaseError for a page number below 1 or a negative page size.
    static Page Of(const QXRecordset& rs);
};

}  // namespace CQXDB::adapter
