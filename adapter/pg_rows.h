// Rows on their way from PostgreSQL.
#pragma once

#include <cstdint>

#include <libpq-fe.h>

#include <qxdb/QXRecordset.h>

namespace CQXDB::adapter {

/// Adds the columns of a result to `rs`, which is empty, and rows `first` to before `last` of it.
void AppendPgRows(const PGresult* result, std::int64_t first, std::int64_t last, QXRecordset& rs);

}  // namespace CQXDB::adapter
