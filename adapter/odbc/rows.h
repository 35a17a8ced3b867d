// Rows on their way out of ODBC.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <qxdb/QXRecordset.h>

#include "adapter/odbc/text.h"

namespace CQXDB::adapter::odbc {

class OdbcConnection;

/// What a driver says of a result's column.
struct OdbcColumn {
    /// `index` is from 1. Throws DatabaseError.
    static OdbcColumn Of(OdbcConnection& connection, SQLHSTMT statement, SQLUSMALLINT index);

    std::string name;
    QXValueType type;
};

/// Fetches the rows of an executed statement one by one.
class OdbcRowReader {
  public:
    /// Adds the result's columns to `rs`, which is empty; none for a statement without rows.
    OdbcRowReader(OdbcConnection& connection, SQLHSTMT statement, QXRecordset& rs);

    bool HasColumns() const noexcept { return !columns_.empty(); }
    /// Moves to the next row; false behind the last one. Throws DatabaseError.
    bool Fetch();
    void Append();

  private:
    struct Column {
        QXColumn* target;
        QXValueType type;
    };

    void Check(SQLRETURN code);
    void AppendCell(SQLUSMALLINT index, const Column& column);
    void AppendTimestamp(SQLUSMALLINT index, QXColumn& target);
    void AppendText(SQLUSMALLINT index, const Column& column);
    /// False for a null.
    template <typename Fixed>
    bool GetFixed(SQLUSMALLINT index, SQLSMALLINT cType, Fixed& value);
    /// Has `take` append the value to `target`; appends a null itself.
    template <typename Fixed, typename Take>
    void AppendFixed(SQLUSMALLINT index, SQLSMALLINT cType, QXColumn& target, Take take);
    /// Collects a value of any length in `value`; false for a null.
    template <typename Units>
    bool GetLong(SQLUSMALLINT index, SQLSMALLINT cType, Units& value);

    OdbcConnection& connection_;
    SQLHSTMT statement_;
    std::vector<Column> columns_;
    std::string bytes_;  ///< kept for its room
    OdbcText units_;
};

}  // namespace CQXDB::adapter::odbc
