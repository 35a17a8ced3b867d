// What differs between databases in how SQL is written.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <qxdb/QXEnums.h>

#include "util/sql_syntax.h"

namespace CQXCLI {

/// The rules of one family of databases, as far as cutting a script into statements and naming
/// tables needs them.
struct Dialect {
    enum class Family { Sqlite, PostgreSql, MySql, SqlServer, Oracle, Other };

    Family family = Family::Other;
    char nameOpen = '"';   ///< opens a quoted name
    char nameClose = '"';  ///< closes it; doubled inside
    CQXBASE::SqlSyntax syntax = {};
    std::string_view endLine = {};  ///< a line of just this ends a statement; empty: no such line

    bool Is(Family other) const noexcept { return family == other; }
};

/// The dialect of a data source type; CQXDB_DS_ODBC, behind which anything may be, gives Other.
const Dialect& DialectOf(CQXDB::CQXDB_DSType_ENUM type) noexcept;
/// The dialect called sqlite, postgresql, mysql, sqlserver, oracle or other.
const Dialect* FindDialect(std::string_view name) noexcept;

/// `name` as a quoted name.
std::string QuoteName(const Dialect& dialect, std::string_view name);
/// A table name that may have a schema in front ("schema.table"), each part quoted. A text that
/// already begins with a quote stays as it is.
std::string QuoteTable(const Dialect& dialect, std::string_view table);

}  // namespace CQXCLI
