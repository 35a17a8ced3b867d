// Pages of a result that a database hands out row by row.
#pragma once

#include <cstdint>

#include "adapter/page.h"

namespace CQXDB::adapter {

/// Has `reader` append the page's rows to `rs` and fetch none behind it. A reader has HasColumns,
/// Fetch, which moves to the next row if there is one, and Append.
template <typename Reader>
void FetchPage(Reader& reader, const Page& page, QXRecordset& rs) {
    bool row = reader.HasColumns() && reader.Fetch();
    for (std::int64_t i = 0; row && i < page.first; ++i) {
        row = reader.Fetch();
    }
    for (std::int64_t i = 0; row && i < page.count; ++i) {
        reader.Append();
        page.CheckBytes(rs);
        row = i + 1 < page.count && reader.Fetch();
    }
}

}  // namespace CQXDB::adapter
