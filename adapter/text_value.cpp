#include "adapter/text_value.h"

#include <cstdint>

#include <qxdb/QXDateTime.h>

#include "util/strict_parse.h"

namespace CQXDB::adapter {
namespace {

bool AppendBool(QXColumn& column, std::string_view text) {
    bool flag = false;
    if (!CQXBASE::ParseFlag(text, flag)) {
        return false;
    }
    column.AppendInt64(flag ? 1 : 0, QXValueType::Bool);
    return true;
}

bool AppendDouble(QXColumn& column, std::string_view text) {
    double number = 0;
    if (!CQXBASE::ParseWhole(text, number)) {
        return false;
    }
    column.AppendDouble(number);
    return true;
}

/// Types that are a count of something.
bool ReadCount(QXValueType type, std::string_view text, std::int64_t& count) noexcept {
    std::int32_t days = 0;
    switch (type) {
        case QXValueType::Int64:
            return CQXBASE::ParseWhole(text, count);
        case QXValueType::Time:
            return QXDateTime::ParseTime(text, count);
        case QXValueType::Timestamp:
            return QXDateTime::ParseTimestamp(text, count);
        case QXValueType::Date:
            if (!QXDateTime::ParseDate(text, days)) {
                return false;
            }
            count = days;
            return true;
        default:
            return false;
    }
}

/// False, and nothing appended, when the text is no value of the type.
bool TryAppend(QXColumn& column, QXValueType type, std::string_view text) {
    std::int64_t count = 0;
    switch (type) {
        case QXValueType::Bool:
            return AppendBool(column, text);
        case QXValueType::Double:
            return AppendDouble(column, text);
        case QXValueType::Int64:
        case QXValueType::Date:
        case QXValueType::Time:
        case QXValueType::Timestamp:
            if (!ReadCount(type, text, count)) {
                return false;
            }
            column.AppendInt64(count, type);
            return true;
        case QXValueType::Decimal:
            if (!CQXBASE::IsDecimal(text)) {
                return false;
            }
            [[fallthrough]];
        case QXValueType::Text:
            column.AppendBytes(text, type);
            return true;
        default:
            return false;
    }
}

}  // namespace

void AppendTextAs(QXColumn& column, QXValueType type, std::string_view text) {
    if (!TryAppend(column, type, text)) {
        column.AppendBytes(text, QXValueType::Text);
    }
}

}  // namespace CQXDB::adapter
