// Rows on their way out of SQLite.
#pragma once

#include <vector>

#include <sqlite3.h>

#include <qxdb/QXRecordset.h>

#include "adapter/sqlite/declared_type.h"

namespace CQXDB::adapter::sqlite {

/// Moves the rows of one execution into a recordset.
class SqliteRowReader {
  public:
    /// Adds the statement's columns to `rs`, which is empty. To be made after the first step, since
    /// only then the statement is known to fit the schema.
    SqliteRowReader(sqlite3_stmt* statement, QXRecordset& rs);

    /// Appends the row that the statement stands on. Gives the bytes of its texts and blobs.
    std::size_t Append();
    /// Takes all rows out of the recordset, which goes on with the same columns.
    QXRecordset TakePart();

  private:
    struct Column {
        QXColumn* target;
        DeclaredType declared;
    };

    std::size_t AppendCell(int index, const Column& column);

    QXRecordset& rs_;
    sqlite3_stmt* statement_;
    std::vector<Column> columns_;
};

}  // namespace CQXDB::adapter::sqlite
