// Rows on their way from PostgreSQL.
#pragma once

#include <cstdint>
#include <vector>

#include <libpq-fe.h>

#include <qxdb/QXRecordset.h>

#include "adapter/page.h"

namespace CQXDB::adapter::postgresql {

/// Takes one query's rows, in as many results as they come in, and appends those of the page to a
/// recordset, which is empty at first. Throws DatabaseError when they are over the page's bound.
class PgPageReader {
  public:
    /// `skip` rows come before the page. Both references are borrowed.
    PgPageReader(const Page& page, std::int64_t skip, QXRecordset& rs)
        : page_(page), skip_(skip), rs_(rs) {}

    void operator()(const PGresult* result);

  private:
    void AddColumns(const PGresult* result);
    void AppendRows(const PGresult* result, std::int64_t first, std::int64_t last);

    const Page& page_;
    std::int64_t skip_;
    QXRecordset& rs_;
    std::int64_t taken_ = 0;
    std::vector<QXValueType> types_;  ///< of the columns
};

}  // namespace CQXDB::adapter::postgresql
