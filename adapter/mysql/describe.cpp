// What MySQL and MariaDB know of a result's columns.
#include <memory>
#include <string>

#include "adapter/mysql/connection.h"
#include "adapter/mysql/rows.h"
#include "adapter/mysql/statement.h"
#include "util/text.h"

namespace CQXDB::adapter::mysql {
namespace {

std::wstring Text(const char* text, unsigned length) {
    return CQXBASE::Utf8ToWide({text, length});
}

const char* TypeName(const MYSQL_FIELD& field) noexcept {
    const bool bytes = field.charsetnr == kBinaryCharset;
    switch (field.type) {
        case MYSQL_TYPE_TINY:
            return "tinyint";
        case MYSQL_TYPE_SHORT:
            return "smallint";
        case MYSQL_TYPE_INT24:
            return "mediumint";
        case MYSQL_TYPE_LONG:
            return "int";
        case MYSQL_TYPE_LONGLONG:
            return "bigint";
        case MYSQL_TYPE_YEAR:
            return "year";
        case MYSQL_TYPE_BIT:
            return "bit";
        case MYSQL_TYPE_FLOAT:
            return "float";
        case MYSQL_TYPE_DOUBLE:
            return "double";
        case MYSQL_TYPE_DECIMAL:
        case MYSQL_TYPE_NEWDECIMAL:
            return "decimal";
        case MYSQL_TYPE_DATE:
        case MYSQL_TYPE_NEWDATE:
            return "date";
        case MYSQL_TYPE_TIME:
            return "time";
        case MYSQL_TYPE_DATETIME:
            return "datetime";
        case MYSQL_TYPE_TIMESTAMP:
            return "timestamp";
        case MYSQL_TYPE_GEOMETRY:
            return "geometry";
        case MYSQL_TYPE_JSON:
            return "json";
        case MYSQL_TYPE_STRING:
            return (field.flags & ENUM_FLAG) != 0  ? "enum"
                   : (field.flags & SET_FLAG) != 0 ? "set"
                   : bytes                         ? "binary"
                                                   : "char";
        case MYSQL_TYPE_VAR_STRING:
        case MYSQL_TYPE_VARCHAR:
            return bytes ? "varbinary" : "varchar";
        case MYSQL_TYPE_TINY_BLOB:
        case MYSQL_TYPE_BLOB:
        case MYSQL_TYPE_MEDIUM_BLOB:
        case MYSQL_TYPE_LONG_BLOB:
            return bytes ? "blob" : "text";
        default:
            return "";
    }
}

/// `characterBytes` is the most that one character takes on this connection.
void AddSizes(QXColumnInfo& info, const MYSQL_FIELD& field, unsigned characterBytes) {
    const auto length = static_cast<std::int64_t>(field.length);
    const auto decimals = static_cast<std::int64_t>(field.decimals);
    switch (info.type) {
        case QXValueType::Text:
            info.length = length / characterBytes;
            break;
        case QXValueType::Blob:
            info.length = length;
            break;
        case QXValueType::Decimal:
            // The length has a place for the sign and one for the point.
            info.precision =
                length - ((field.flags & UNSIGNED_FLAG) == 0 ? 1 : 0) - (decimals > 0 ? 1 : 0);
            info.scale = decimals;
            break;
        case QXValueType::Time:
        case QXValueType::Timestamp:
            info.precision = decimals;
            break;
        default:
            break;
    }
}

}  // namespace

std::vector<QXColumnInfo> MySqlStatement::Describe() {
    std::vector<QXColumnInfo> columns;
    const std::unique_ptr<MYSQL_RES, void (*)(MYSQL_RES*)> result(
        mysql_stmt_result_metadata(executor_), mysql_free_result);
    MY_CHARSET_INFO charset{};
    mysql_get_character_set_info(connection_.Handle(), &charset);
    const unsigned count = result ? mysql_num_fields(result.get()) : 0;
    for (unsigned i = 0; i < count; ++i) {
        const MYSQL_FIELD& field = mysql_fetch_fields(result.get())[i];
        QXColumnInfo& info = columns.emplace_back();
        info.name = Text(field.name, field.name_length);
        info.type = MySqlRowReader::TypeOf(field);
        info.declaredType = CQXBASE::Utf8ToWide(TypeName(field));
        const bool number = (field.flags & NUM_FLAG) != 0;
        info.declaredType += number && (field.flags & UNSIGNED_FLAG) != 0 ? L" unsigned" : L"";
        AddSizes(info, field, charset.mbmaxlen == 0 ? 1 : charset.mbmaxlen);
        info.table = Text(field.org_table, field.org_table_length);
        info.column = Text(field.org_name, field.org_name_length);
        info.schema = info.table.empty() ? std::wstring() : Text(field.db, field.db_length);
        if (!info.table.empty()) {
            info.nullable = (field.flags & NOT_NULL_FLAG) != 0 ? QXNULLABLE_NO : QXNULLABLE_YES;
        }
    }
    return columns;
}

}  // namespace CQXDB::adapter::mysql
