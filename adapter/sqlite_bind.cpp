#include "adapter/sqlite_bind.h"

#include <cmath>
#include <string>
#include <string_view>

#include <qxdb/QXDateTime.h>

#include "adapter/sqlite_error.h"

namespace CQXDB::adapter {
namespace {

int BindText(sqlite3_stmt* statement, int index, std::string_view text,
             sqlite3_destructor_type ownership) {
    return sqlite3_bind_text64(statement, index, text.data(), text.size(), ownership, SQLITE_UTF8);
}

int BindBlob(sqlite3_stmt* statement, int index, std::string_view bytes) {
    // A blob without bytes is no null, which a null pointer would make of it.
    return sqlite3_bind_blob64(statement, index, bytes.empty() ? "" : bytes.data(), bytes.size(),
                               SQLITE_STATIC);
}

int BindDouble(sqlite3_stmt* statement, int index, double number) {
    if (std::isnan(number)) {
        throw DatabaseError(DBMGR_BAD_VALUE, "parameter " + std::to_string(index) +
                                                 " is not a number (NaN), which SQLite would store "
                                                 "as null");
    }
    return sqlite3_bind_double(statement, index, number);
}

int BindOne(sqlite3_stmt* statement, int index, const QXValue& value) {
    switch (value.Type()) {
        case QXValueType::Bool:
        case QXValueType::Int64:
            return sqlite3_bind_int64(statement, index, value.RawInt64());
        case QXValueType::Double:
            return BindDouble(statement, index, value.RawDouble());
        case QXValueType::Decimal:
        case QXValueType::Text:
            return BindText(statement, index, value.Bytes(), SQLITE_STATIC);
        case QXValueType::Blob:
            return BindBlob(statement, index, value.Bytes());
        case QXValueType::Date:
        case QXValueType::Time:
        case QXValueType::Timestamp:
            return BindText(statement, index, value.ToUtf8(), SQLITE_TRANSIENT);
        case QXValueType::Null:
        case QXValueType::Mixed:
            break;
    }
    return sqlite3_bind_null(statement, index);
}

}  // namespace

void BindSqlite(sqlite3* db, sqlite3_stmt* statement, const Parameters& parameters) {
    int index = 0;
    for (const QXValue& value : parameters) {
        CheckSqlite(db, BindOne(statement, ++index, value));
    }
}

}  // namespace CQXDB::adapter
