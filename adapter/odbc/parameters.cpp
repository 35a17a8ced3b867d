#include "adapter/odbc/parameters.h"

#include <algorithm>

#include <qxdb/QXDateTime.h>

#include "adapter/odbc/connection.h"
#include "util/ascii.h"

namespace CQXDB::adapter::odbc {
namespace {

// The longest that the usual servers take as other than a large object.
constexpr std::size_t kLongestVarchar = 4000;
constexpr std::size_t kLongestVarbinary = 8000;

SQL_DATE_STRUCT DateOf(std::int32_t days) {
    std::int32_t year = 0;
    unsigned month = 0;
    unsigned day = 0;
    QXDateTime::CivilFromDays(days, year, month, day);
    return {static_cast<SQLSMALLINT>(year), static_cast<SQLUSMALLINT>(month),
            static_cast<SQLUSMALLINT>(day)};
}

SQL_TIMESTAMP_STRUCT TimestampOf(std::int64_t micros) {
    std::int64_t days = micros / QXDateTime::kMicrosPerDay;
    std::int64_t rest = micros % QXDateTime::kMicrosPerDay;
    if (rest < 0) {
        rest += QXDateTime::kMicrosPerDay;
        --days;
    }
    const SQL_DATE_STRUCT date = DateOf(static_cast<std::int32_t>(days));
    const std::int64_t seconds = rest / QXDateTime::kMicrosPerSecond;
    SQL_TIMESTAMP_STRUCT at{};
    at.year = date.year;
    at.month = date.month;
    at.day = date.day;
    at.hour = static_cast<SQLUSMALLINT>(seconds / 3600);
    at.minute = static_cast<SQLUSMALLINT>(seconds / 60 % 60);
    at.second = static_cast<SQLUSMALLINT>(seconds % 60);
    at.fraction = static_cast<SQLUINTEGER>(rest % QXDateTime::kMicrosPerSecond * 1000);
    return at;
}

}  // namespace

OdbcParameters::OdbcParameters(OdbcConnection& connection, SQLHSTMT statement,
                               const Parameters& values)
    : connection_(connection), statement_(statement) {
    for (const QXValue& value : values) {
        Add(value);
    }
}

OdbcParameters::~OdbcParameters() {
    SQLFreeStmt(statement_, SQL_RESET_PARAMS);
}

void OdbcParameters::Add(const QXValue& value) {
    switch (value.Type()) {
        case QXValueType::Bool:
            AddFixed({SQL_C_BIT, SQL_BIT, 1}, static_cast<SQLCHAR>(value.RawInt64()));
            break;
        case QXValueType::Int64:
            AddFixed({SQL_C_SBIGINT, SQL_BIGINT, 19}, static_cast<SQLBIGINT>(value.RawInt64()));
            break;
        case QXValueType::Double:
            AddFixed({SQL_C_DOUBLE, SQL_DOUBLE, 15}, value.RawDouble());
            break;
        case QXValueType::Decimal:
            AddDecimal(value.Bytes());
            break;
        case QXValueType::Text:
            AddText(value.Bytes());
            break;
        case QXValueType::Blob: {
            const std::size_t count = value.Bytes().size();
            const SQLSMALLINT type = count <= kLongestVarbinary ? SQL_VARBINARY : SQL_LONGVARBINARY;
            Bind({SQL_C_BINARY, type, std::max<SQLULEN>(count, 1)},
                 count == 0 ? "" : value.Bytes().data(), static_cast<SQLLEN>(count));
            break;
        }
        case QXValueType::Date:
            AddFixed({SQL_C_TYPE_DATE, SQL_TYPE_DATE, 10},
                     DateOf(static_cast<std::int32_t>(value.RawInt64())));
            break;
        case QXValueType::Time:
            // ODBC's own time has no fraction of a second.
            AddText(value.ToUtf8());
            break;
        case QXValueType::Timestamp:
            AddFixed({SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, 26, 6},
                     TimestampOf(value.RawInt64()));
            break;
        case QXValueType::Null:
        case QXValueType::Mixed:
            AddNull();
    }
}

template <typename Number>
void OdbcParameters::AddFixed(const Form& form, const Number& number) {
    const Buffer& kept = buffers_.emplace_back(number);
    Bind(form, &std::get<Number>(kept), sizeof number);
}

void OdbcParameters::AddNull() {
    // Some servers refuse a null of another type than that of the column it goes to.
    SQLSMALLINT type = SQL_VARCHAR;
    SQLSMALLINT digits = 0;
    SQLSMALLINT nullable = 0;
    SQLULEN size = 1;
    const auto index = static_cast<SQLUSMALLINT>(count_ + 1);
    if (OdbcFailed(SQLDescribeParam(statement_, index, &type, &size, &digits, &nullable))) {
        type = SQL_VARCHAR;
        size = 1;
        digits = 0;
    }
    Bind({SQL_C_CHAR, type, std::max<SQLULEN>(size, 1), digits}, nullptr, SQL_NULL_DATA);
}

void OdbcParameters::AddDecimal(std::string_view text) {
    const std::size_t point = text.find('.');
    const std::size_t scale = point == std::string_view::npos ? 0 : text.size() - point - 1;
    const auto digits =
        static_cast<SQLULEN>(std::count_if(text.begin(), text.end(), CQXBASE::IsAsciiDigit));
    const Buffer& kept = buffers_.emplace_back(std::string(text));
    Bind({SQL_C_CHAR, SQL_NUMERIC, digits, static_cast<SQLSMALLINT>(scale)},
         std::get<std::string>(kept).data(), static_cast<SQLLEN>(text.size()));
}

void OdbcParameters::AddText(std::string_view text) {
    const OdbcText& kept = std::get<OdbcText>(buffers_.emplace_back(ToOdbcText(text)));
    const SQLSMALLINT type = kept.size() <= kLongestVarchar ? SQL_WVARCHAR : SQL_WLONGVARCHAR;
    Bind({SQL_C_WCHAR, type, std::max<SQLULEN>(kept.size(), 1)}, kept.data(),
         static_cast<SQLLEN>(kept.size() * sizeof(SQLWCHAR)));
}

void OdbcParameters::Bind(const Form& form, const void* data, SQLLEN bytes) {
    SQLLEN& length = lengths_.emplace_back(bytes);
    ++count_;
    connection_.Check(
        statement_, SQLBindParameter(statement_, count_, SQL_PARAM_INPUT, form.cType, form.sqlType,
                                     form.size, form.digits, const_cast<void*>(data),
                                     std::max<SQLLEN>(bytes, 0), &length));
}

}  // namespace CQXDB::adapter::odbc
