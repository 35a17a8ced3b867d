#include "adapter/sqlite/parameters.h"

#include <cmath>
#include <string>

#include "adapter/sqlite/errors.h"

namespace CQXDB::adapter::sqlite {
namespace {

/// SQLite keeps a copy of what it had to convert, which is worth giving back from here on.
constexpr std::size_t kMuch = 4096;

}  // namespace

struct SqliteBinder::Value {
    QXValueType type;
    std::int64_t number;
    double real;
    std::string_view bytes;

    static Value Of(const QXValue& value) noexcept {
        return {value.Type(), value.RawInt64(), value.RawDouble(), value.Bytes()};
    }
    static Value Of(const QXColumn& column, std::size_t row) noexcept {
        const QXValueType type = column.TypeAt(row);
        switch (type) {
            case QXValueType::Null:
                return {type, 0, 0, {}};
            case QXValueType::Double:
                return {type, 0, column.DoubleAt(row), {}};
            case QXValueType::Decimal:
            case QXValueType::Text:
            case QXValueType::Blob:
                return {type, 0, 0, column.BytesAt(row)};
            default:
                return {type, column.Int64At(row), 0, {}};
        }
    }
};

SqliteBinder::SqliteBinder(sqlite3* db, sqlite3_stmt* statement) noexcept
    : db_(db),
      statement_(statement),
      count_(static_cast<std::size_t>(sqlite3_bind_parameter_count(statement))) {}

void SqliteBinder::Bind(const Parameters& parameters) {
    int index = 0;
    for (const QXValue& value : parameters) {
        Set(++index, Value::Of(value));
    }
}

void SqliteBinder::Bind(const std::vector<QXColumn>& parameters, std::size_t row) {
    int index = 0;
    for (const QXColumn& column : parameters) {
        Set(++index, Value::Of(column, row));
    }
}

void SqliteBinder::Done() noexcept {
    if (bytes_ >= kMuch) {
        sqlite3_clear_bindings(statement_);
    }
    bytes_ = 0;
}

void SqliteBinder::Set(int index, const Value& value) {
    int code = SQLITE_OK;
    switch (value.type) {
        case QXValueType::Bool:
        case QXValueType::Int64:
            code = sqlite3_bind_int64(statement_, index, value.number);
            break;
        case QXValueType::Double:
            if (std::isnan(value.real)) {
                throw DatabaseError(DBMGR_BAD_VALUE,
                                    "parameter " + std::to_string(index) +
                                        " is not a number (NaN), which SQLite would store as null");
            }
            code = sqlite3_bind_double(statement_, index, value.real);
            break;
        case QXValueType::Decimal:
        case QXValueType::Text:
        case QXValueType::Blob:
            code = SetBytes(index, value);
            break;
        case QXValueType::Date:
        case QXValueType::Time:
        case QXValueType::Timestamp:
            code = SetTime(index, value);
            break;
        case QXValueType::Null:
        case QXValueType::Mixed:
            code = sqlite3_bind_null(statement_, index);
    }
    CheckSqlite(db_, code);
}

int SqliteBinder::SetBytes(int index, const Value& value) {
    // A null pointer would make a null of what has no bytes.
    const char* const bytes = value.bytes.empty() ? "" : value.bytes.data();
    bytes_ += value.bytes.size();
    return value.type == QXValueType::Blob
               ? sqlite3_bind_blob64(statement_, index, bytes, value.bytes.size(), SQLITE_STATIC)
               : sqlite3_bind_text64(statement_, index, bytes, value.bytes.size(), SQLITE_STATIC,
                                     SQLITE_UTF8);
}

int SqliteBinder::SetTime(int index, const Value& value) {
    written_.resize(count_);  // once: what is bound must not move
    QXDateTime::TextRoom& room = written_[static_cast<std::size_t>(index) - 1];
    const std::string_view text =
        value.type == QXValueType::Date
            ? QXDateTime::WriteDate(static_cast<std::int32_t>(value.number), room)
        : value.type == QXValueType::Time ? QXDateTime::WriteTime(value.number, room)
                                          : QXDateTime::WriteTimestamp(value.number, room);
    return sqlite3_bind_text64(statement_, index, text.data(), text.size(), SQLITE_STATIC,
                               SQLITE_UTF8);
}

}  // namespace CQXDB::adapter::sqlite
