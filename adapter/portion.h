// Rows that are handed out in portions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <qxdb/QXRecordset.h>

#include "adapter/page.h"

namespace CQXDB::adapter {

/// Memory of a portion's rows, from which on it takes no further row.
constexpr std::size_t kPortionBytes = std::size_t{4} << 20;

/// Where a reader, which keeps the addresses of its columns, puts one portion after the other.
class Portion {
  public:
    /// `add` makes the reader, which adds its columns to the recordset it is given.
    template <typename Add>
    explicit Portion(Add add) {
        add(rows_);
        for (std::size_t i = 0; i < rows_.ColumnCount(); ++i) {
            types_.push_back(rows_.Column(i).Type());
        }
    }
    Portion(const Portion&) = delete;
    Portion& operator=(const Portion&) = delete;

    /// Has `next`, which appends a row unless it was the last one, fill what the page asks for, and
    /// moves that to `rs`, which is empty.
    template <typename Next>
    void Fill(const Page& page, Next next, QXRecordset& rs) {
        while (static_cast<std::int64_t>(rows_.RowCount()) < page.count &&
               rows_.MemoryBytes() < kPortionBytes && next()) {
            page.CheckBytes(rows_);
        }
        for (std::size_t i = 0; i < types_.size(); ++i) {
            QXColumn& column = rows_.MutableColumn(i);
            QXColumn& target = rs.AddColumn(column.NameUtf8(), types_[i]);
            target = std::exchange(column, QXColumn(target));
        }
        rs.FillDone();
    }

  private:
    QXRecordset rows_;
    std::vector<QXValueType> types_;  ///< of the columns before they had rows
};

}  // namespace CQXDB::adapter
