// Which rows of a result a query wants.
#pragma once

#include <cstddef>
#include <cstdint>

#include <qxdb/QXRecordset.h>
#include <qxdb/RowSink.h>

namespace CQXDB::adapter {

/// Rows `first` to `first + count - 1`, counted from 0.
struct Page {
    static constexpr std::int64_t kAllRows = INT64_MAX;

    std::int64_t first = 0;
    std::int64_t count = kAllRows;

    std::size_t maxBytes = 0;     ///< bound on the memory of the rows; 0 is none
    std::size_t bytesBefore = 0;  ///< what the earlier recordsets of the same call have taken of it

    /// Takes rows while others are still being read, where the database hands them out one by one.
    const RowSink* sink = nullptr;

    bool All() const noexcept { return count == kAllRows; }

    /// Throws DatabaseError when `rs`, which the page's rows go to, is beyond the bound. Cheap
    /// enough to be asked after every row.
    void CheckBytes(const QXRecordset& rs) const {
        if (maxBytes != 0 && bytesBefore + rs.MemoryBytes() > maxBytes) {
            RefuseBytes();
        }
    }

    /// Throws DatabaseError for a page number below 1 or a negative page size.
    static Page Of(const QXRecordset& rs, std::size_t maxBytes);

  private:
    [[noreturn]] void RefuseBytes() const;
};

}  // namespace CQXDB::adapter
