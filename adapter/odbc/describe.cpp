// What an ODBC driver knows of a result's columns.
#include <string>

#include "adapter/odbc/connection.h"
#include "adapter/odbc/rows.h"
#include "adapter/odbc/statement.h"
#include "adapter/odbc/text.h"
#include "util/text.h"

namespace CQXDB::adapter::odbc {
namespace {

constexpr std::size_t kMostUnits = 1024;

}  // namespace

std::wstring OdbcStatement::Attribute(SQLUSMALLINT index, SQLUSMALLINT attribute) {
    OdbcText text(kMostUnits, 0);
    SQLSMALLINT bytes = 0;
    const SQLRETURN code = SQLColAttributeW(
        handle_, index, attribute, text.data(),
        static_cast<SQLSMALLINT>((text.size() - 1) * sizeof(SQLWCHAR)), &bytes, nullptr);
    // Drivers may know none.
    return OdbcFailed(code) ? std::wstring() : CQXBASE::Utf8ToWide(FromOdbcText(text.data()));
}

std::int64_t OdbcStatement::NumberAttribute(SQLUSMALLINT index, SQLUSMALLINT attribute) {
    SQLLEN number = -1;
    const SQLRETURN code =
        SQLColAttributeW(handle_, index, attribute, nullptr, 0, nullptr, &number);
    return OdbcFailed(code) ? -1 : static_cast<std::int64_t>(number);
}

QXColumnInfo OdbcStatement::DescribeColumn(SQLUSMALLINT index) {
    QXColumnInfo info;
    const OdbcColumn column = OdbcColumn::Of(connection_, handle_, index);
    info.name = CQXBASE::Utf8ToWide(column.name);
    info.type = column.type;
    info.declaredType = Attribute(index, SQL_DESC_TYPE_NAME);
    info.schema = Attribute(index, SQL_DESC_SCHEMA_NAME);
    info.table = Attribute(index, SQL_DESC_BASE_TABLE_NAME);
    info.column = Attribute(index, SQL_DESC_BASE_COLUMN_NAME);
    if (info.table.empty()) {
        info.schema.clear();  // some tell a computed one's name and schema too
        info.column.clear();
    }
    switch (info.type) {
        case QXValueType::Text:
        case QXValueType::Blob:
            info.length = NumberAttribute(index, SQL_DESC_LENGTH);
            break;
        case QXValueType::Decimal:
            info.precision = NumberAttribute(index, SQL_DESC_PRECISION);
            info.scale = NumberAttribute(index, SQL_DESC_SCALE);
            break;
        case QXValueType::Time:
        case QXValueType::Timestamp:
            info.precision = NumberAttribute(index, SQL_DESC_PRECISION);
            break;
        default:
            break;
    }
    const std::int64_t nullable = NumberAttribute(index, SQL_DESC_NULLABLE);
    info.nullable = nullable == SQL_NO_NULLS   ? QXNULLABLE_NO
                    : nullable == SQL_NULLABLE ? QXNULLABLE_YES
                                               : QXNULLABLE_UNKNOWN;
    return info;
}

std::vector<QXColumnInfo> OdbcStatement::Describe() {
    const OdbcConnection::Running running(connection_, handle_);
    if (!prepared_) {
        Prepare();
    }
    SQLSMALLINT count = 0;
    Check(SQLNumResultCols(handle_, &count));
    std::vector<QXColumnInfo> columns;
    for (SQLSMALLINT i = 1; i <= count; ++i) {
        columns.push_back(DescribeColumn(static_cast<SQLUSMALLINT>(i)));
    }
    return columns;
}

}  // namespace CQXDB::adapter::odbc
