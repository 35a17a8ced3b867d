// What a database knows of a result's column.
#pragma once

#include <cstdint>
#include <string>

#include <qxdb/QXValue.h>

namespace CQXDB {

enum QXNullability {
    QXNULLABLE_UNKNOWN = 0,
    QXNULLABLE_NO = 1,  ///< the column it comes from takes no nulls (an outer join may make some)
    QXNULLABLE_YES = 2,
};

struct QXColumnInfo {
    std::wstring name;
    /// Which most of its values have in a recordset; Null where only the rows will tell.
    QXValueType type = QXValueType::Null;
    std::wstring declaredType;  ///< the database's words, such as "varchar(20)"; empty: it has none
    std::int64_t length = -1;   ///< longest text in characters, longest blob in bytes; -1: unknown
    std::int64_t precision = -1;  ///< digits of a number, or of a time's seconds; -1: unknown
    std::int64_t scale = -1;      ///< of these, digits behind the point; -1: unknown
    QXNullability nullable = QXNULLABLE_UNKNOWN;
    // Where its values come from, unless they are computed.
    std::wstring schema;  ///< SQLite: "main" or as attached; MySQL: the database
    std::wstring table;
    std::wstring column;
};

}  // namespace CQXDB
