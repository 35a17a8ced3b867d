// What tables and columns a database has, asked in its own way.
#pragma once

#include <qxdb/QXCommand.h>

#include "cli/dialect.h"

namespace CQXCLI {

/// A query for the names and kinds of tables and views.
CQXDB::QXCommand ListTables(const Dialect& dialect);
/// A query for the columns of one table or view, named as it is stored; no rows: there is none.
CQXDB::QXCommand DescribeTable(const Dialect& dialect, std::string_view table);
/// A query for no row, whose result has the table's columns. `table` as QuoteTable takes it.
CQXDB::QXCommand ColumnsOf(const Dialect& dialect, std::string_view table);

}  // namespace CQXCLI
