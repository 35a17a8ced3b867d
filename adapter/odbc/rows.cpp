#include "adapter/odbc/rows.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include <qxdb/QXDateTime.h>

#include "adapter/odbc/connection.h"
#include "adapter/text_value.h"

namespace CQXDB::adapter::odbc {
namespace {

// SQL Server's own types, which its driver describes by these numbers.
constexpr SQLSMALLINT kSqlServerTime = -154;
constexpr SQLSMALLINT kSqlServerTimestampOffset = -155;

constexpr std::size_t kFirstUnits = 1024;

QXValueType ValueType(SQLSMALLINT sqlType, bool isUnsigned) noexcept {
    switch (sqlType) {
        case SQL_BIT:
            return QXValueType::Bool;
        case SQL_BIGINT:
            return isUnsigned ? QXValueType::Decimal : QXValueType::Int64;
        case SQL_TINYINT:
        case SQL_SMALLINT:
        case SQL_INTEGER:
            return QXValueType::Int64;
        case SQL_REAL:
        case SQL_FLOAT:
        case SQL_DOUBLE:
            return QXValueType::Double;
        case SQL_NUMERIC:
        case SQL_DECIMAL:
            return QXValueType::Decimal;
        case SQL_BINARY:
        case SQL_VARBINARY:
        case SQL_LONGVARBINARY:
            return QXValueType::Blob;
        case SQL_DATE:
        case SQL_TYPE_DATE:
            return QXValueType::Date;
        case SQL_TIME:
        case SQL_TYPE_TIME:
        case kSqlServerTime:
            return QXValueType::Time;
        case SQL_TIMESTAMP:
        case SQL_TYPE_TIMESTAMP:
        case kSqlServerTimestampOffset:
            return QXValueType::Timestamp;
        default:
            return QXValueType::Text;
    }
}

}  // namespace

OdbcColumn OdbcColumn::Of(OdbcConnection& connection, SQLHSTMT statement, SQLUSMALLINT index) {
    OdbcText name(256, 0);
    SQLSMALLINT length = 0;
    SQLSMALLINT type = 0;
    SQLSMALLINT digits = 0;
    SQLSMALLINT nullable = 0;
    SQLULEN size = 0;
    const auto describe = [&] {
        connection.Check(statement, SQLDescribeColW(statement, index, name.data(),
                                                    static_cast<SQLSMALLINT>(name.size()), &length,
                                                    &type, &size, &digits, &nullable));
    };
    describe();
    if (static_cast<std::size_t>(length) >= name.size()) {
        name.resize(static_cast<std::size_t>(length) + 1);
        describe();
    }
    SQLLEN isUnsigned = SQL_FALSE;
    SQLColAttributeW(statement, index, SQL_DESC_UNSIGNED, nullptr, 0, nullptr, &isUnsigned);
    return {FromOdbcText(name.data(), static_cast<std::size_t>(length)),
            ValueType(type, isUnsigned == SQL_TRUE)};
}

OdbcRowReader::OdbcRowReader(OdbcConnection& connection, SQLHSTMT statement, QXRecordset& rs)
    : connection_(connection), statement_(statement) {
    SQLSMALLINT count = 0;
    Check(SQLNumResultCols(statement, &count));
    for (SQLUSMALLINT i = 1; i <= count; ++i) {
        const OdbcColumn column = OdbcColumn::Of(connection, statement, i);
        columns_.push_back({&rs.AddColumn(column.name, column.type), column.type});
    }
}

void OdbcRowReader::Check(SQLRETURN code) {
    connection_.Check(statement_, code);
}

bool OdbcRowReader::Fetch() {
    connection_.CheckCancelled();
    const SQLRETURN code = SQLFetch(statement_);
    Check(code);
    return code != SQL_NO_DATA;
}

void OdbcRowReader::Append() {
    SQLUSMALLINT index = 0;
    for (const Column& column : columns_) {
        AppendCell(++index, column);
    }
}

template <typename Fixed>
bool OdbcRowReader::GetFixed(SQLUSMALLINT index, SQLSMALLINT cType, Fixed& value) {
    SQLLEN length = 0;
    Check(SQLGetData(statement_, index, cType, &value, sizeof value, &length));
    return length != SQL_NULL_DATA;
}

template <typename Fixed, typename Take>
void OdbcRowReader::AppendFixed(SQLUSMALLINT index, SQLSMALLINT cType, QXColumn& target,
                                Take take) {
    Fixed value{};
    GetFixed(index, cType, value) ? take(value) : target.AppendNull();
}

template <typename Units>
bool OdbcRowReader::GetLong(SQLUSMALLINT index, SQLSMALLINT cType, Units& value) {
    constexpr std::size_t kUnitBytes = sizeof(typename Units::value_type);
    const std::size_t terminator = cType == SQL_C_BINARY ? 0 : 1;
    std::size_t filled = 0;
    value.resize(std::max(value.capacity(), kFirstUnits));
    for (;;) {
        SQLLEN length = 0;
        const std::size_t room = value.size() - filled;
        const SQLRETURN code = SQLGetData(statement_, index, cType, value.data() + filled,
                                          static_cast<SQLLEN>(room * kUnitBytes), &length);
        Check(code);
        if (length == SQL_NULL_DATA) {
            return false;
        }
        if (code == SQL_NO_DATA) {
            break;
        }
        const std::size_t rest =
            length == SQL_NO_TOTAL ? SIZE_MAX : static_cast<std::size_t>(length) / kUnitBytes;
        if (rest <= room - terminator) {
            filled += rest;
            break;
        }
        filled += room - terminator;
        value.resize(length == SQL_NO_TOTAL ? value.size() * 2
                                            : filled + rest - (room - terminator) + terminator);
    }
    connection_.Measure(filled * kUnitBytes);
    value.resize(filled);
    return true;
}

void OdbcRowReader::AppendCell(SQLUSMALLINT index, const Column& column) {
    QXColumn& target = *column.target;
    switch (column.type) {
        case QXValueType::Bool:
            AppendFixed<SQLCHAR>(index, SQL_C_BIT, target, [&target](SQLCHAR flag) {
                target.AppendInt64(flag, QXValueType::Bool);
            });
            break;
        case QXValueType::Int64:
            AppendFixed<SQLBIGINT>(index, SQL_C_SBIGINT, target,
                                   [&target](SQLBIGINT number) { target.AppendInt64(number); });
            break;
        case QXValueType::Double:
            AppendFixed<double>(index, SQL_C_DOUBLE, target,
                                [&target](double number) { target.AppendDouble(number); });
            break;
        case QXValueType::Blob:
            GetLong(index, SQL_C_BINARY, bytes_) ? target.AppendBytes(bytes_, QXValueType::Blob)
                                                 : target.AppendNull();
            break;
        case QXValueType::Timestamp:
            AppendTimestamp(index, target);
            break;
        default:
            AppendText(index, column);
    }
}

void OdbcRowReader::AppendTimestamp(SQLUSMALLINT index, QXColumn& target) {
    SQL_TIMESTAMP_STRUCT at{};
    if (!GetFixed(index, SQL_C_TYPE_TIMESTAMP, at)) {
        target.AppendNull();
        return;
    }
    const std::int64_t micros = QXDateTime::Timestamp(at.year, at.month, at.day, at.hour, at.minute,
                                                      at.second, at.fraction / 1000);
    if (at.fraction % 1000 == 0) {
        target.AppendInt64(micros, QXValueType::Timestamp);
        return;
    }
    // Finer than a microsecond: only a text keeps all of it.
    char fraction[16];
    std::snprintf(fraction, sizeof fraction, ".%09u", static_cast<unsigned>(at.fraction));
    const std::int64_t whole = micros - static_cast<std::int64_t>(at.fraction / 1000);
    target.AppendBytes(QXDateTime::FormatTimestamp(whole) + fraction, QXValueType::Text);
}

void OdbcRowReader::AppendText(SQLUSMALLINT index, const Column& column) {
    if (!GetLong(index, SQL_C_WCHAR, units_)) {
        column.target->AppendNull();
        return;
    }
    AppendTextAs(*column.target, column.type, FromOdbcText(units_.data(), units_.size()));
}

}  // namespace CQXDB::adapter::odbc
