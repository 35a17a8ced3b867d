#include "adapter/mysql/rows.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "adapter/mysql/errors.h"
#include "adapter/text_value.h"

namespace CQXDB::adapter::mysql {
namespace {

constexpr unsigned long kFirstBufferBytes = 256;

template <typename Number>
Number Read(const std::vector<char>& bytes) noexcept {
    Number number;
    std::memcpy(&number, bytes.data(), sizeof number);
    return number;
}

void AppendUnsigned(QXColumn& target, std::uint64_t number) {
    if (number <= INT64_MAX) {
        target.AppendInt64(static_cast<std::int64_t>(number));
    } else {
        target.AppendBytes(std::to_string(number), QXValueType::Decimal);
    }
}

std::uint64_t BigEndian(std::string_view bytes) noexcept {
    std::uint64_t number = 0;
    for (const char byte : bytes) {
        number = number << 8 | static_cast<unsigned char>(byte);
    }
    return number;
}

void AppendFlag(QXColumn& target, std::int64_t number) {
    const bool flag = number == 0 || number == 1;
    target.AppendInt64(number, flag ? QXValueType::Bool : QXValueType::Int64);
}

}  // namespace

MySqlRowReader::MySqlRowReader(MYSQL* connection, MYSQL_STMT* statement, QXRecordset& rs)
    : connection_(connection), statement_(statement) {
    const std::unique_ptr<MYSQL_RES, void (*)(MYSQL_RES*)> result(
        mysql_stmt_result_metadata(statement), mysql_free_result);
    if (!result) {
        return;
    }
    const unsigned count = mysql_num_fields(result.get());
    const MYSQL_FIELD* fields = mysql_fetch_fields(result.get());
    for (unsigned i = 0; i < count; ++i) {
        Column& column = columns_.emplace_back(ColumnOf(fields[i]));
        column.target = &rs.AddColumn({fields[i].name, fields[i].name_length}, column.type);
    }
    Bind();
}

MySqlRowReader::Column MySqlRowReader::ColumnOf(const MYSQL_FIELD& field) {
    Column column;
    const bool isUnsigned = (field.flags & UNSIGNED_FLAG) != 0;
    switch (field.type) {
        case MYSQL_TYPE_TINY:
            column.form = field.length == 1 && !isUnsigned ? Form::Flag : Form::Integer;
            break;
        case MYSQL_TYPE_LONGLONG:
            column.form = isUnsigned ? Form::Unsigned : Form::Integer;
            break;
        case MYSQL_TYPE_SHORT:
        case MYSQL_TYPE_INT24:
        case MYSQL_TYPE_LONG:
        case MYSQL_TYPE_YEAR:
            column.form = Form::Integer;
            break;
        case MYSQL_TYPE_BIT:
            column.form = Form::Bits;
            break;
        case MYSQL_TYPE_FLOAT:
            column.form = Form::Float;
            break;
        case MYSQL_TYPE_DOUBLE:
            column.form = Form::Double;
            break;
        default:
            break;
    }
    const bool flag = column.form == Form::Flag || (column.form == Form::Bits && field.length == 1);
    const bool real = column.form == Form::Float || column.form == Form::Double;
    column.type = flag                         ? QXValueType::Bool
                  : real                       ? QXValueType::Double
                  : column.form == Form::Typed ? ByteType(field)
                                               : QXValueType::Int64;
    const bool bytes = column.form == Form::Typed || column.form == Form::Bits;
    column.bytes.resize(bytes ? std::clamp(field.length, 8UL, kFirstBufferBytes) : 8);
    return column;
}

QXValueType MySqlRowReader::ByteType(const MYSQL_FIELD& field) noexcept {
    switch (field.type) {
        case MYSQL_TYPE_DECIMAL:
        case MYSQL_TYPE_NEWDECIMAL:
            return QXValueType::Decimal;
        case MYSQL_TYPE_DATE:
        case MYSQL_TYPE_NEWDATE:
            return QXValueType::Date;
        case MYSQL_TYPE_TIME:
            return QXValueType::Time;
        case MYSQL_TYPE_DATETIME:
        case MYSQL_TYPE_TIMESTAMP:
            return QXValueType::Timestamp;
        case MYSQL_TYPE_GEOMETRY:
            return QXValueType::Blob;
        case MYSQL_TYPE_JSON:
            return QXValueType::Text;
        case MYSQL_TYPE_NULL:
            return QXValueType::Null;
        default:
            return field.charsetnr == kBinaryCharset ? QXValueType::Blob : QXValueType::Text;
    }
}

void MySqlRowReader::Bind() {
    binds_.assign(columns_.size(), MYSQL_BIND{});
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        Column& column = columns_[i];
        MYSQL_BIND& bind = binds_[i];
        bind.buffer_type = column.form == Form::Float    ? MYSQL_TYPE_FLOAT
                           : column.form == Form::Double ? MYSQL_TYPE_DOUBLE
                           : column.form == Form::Bits   ? MYSQL_TYPE_BIT
                           : column.form == Form::Typed  ? MYSQL_TYPE_STRING
                                                         : MYSQL_TYPE_LONGLONG;
        if (column.type == QXValueType::Blob) {
            bind.buffer_type = MYSQL_TYPE_BLOB;
        }
        bind.is_unsigned = column.form == Form::Unsigned;
        bind.buffer = column.bytes.data();
        bind.buffer_length = static_cast<unsigned long>(column.bytes.size());
        bind.length = &column.length;
        bind.is_null = &column.null;
        bind.error = &column.truncated;
    }
    if (mysql_stmt_bind_result(statement_, binds_.data()) != 0) {
        throw MySqlError(connection_, statement_);
    }
}

bool MySqlRowReader::Fetch() {
    const int code = mysql_stmt_fetch(statement_);
    if (code == 1) {
        throw MySqlError(connection_, statement_);
    }
    return code != MYSQL_NO_DATA;
}

void MySqlRowReader::FetchLongBytes() {
    bool grown = false;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        Column& column = columns_[i];
        if (column.null != 0 || column.length <= column.bytes.size()) {
            continue;
        }
        column.bytes.resize(column.length);
        MYSQL_BIND whole = binds_[i];
        whole.buffer = column.bytes.data();
        whole.buffer_length = column.length;
        if (mysql_stmt_fetch_column(statement_, &whole, static_cast<unsigned>(i), 0) != 0) {
            throw MySqlError(connection_, statement_);
        }
        grown = true;
    }
    if (grown) {
        Bind();
    }
}

void MySqlRowReader::Append() {
    FetchLongBytes();
    for (const Column& column : columns_) {
        column.null != 0 ? column.target->AppendNull() : AppendCell(column);
    }
}

void MySqlRowReader::AppendCell(const Column& column) {
    QXColumn& target = *column.target;
    const std::string_view bytes(column.bytes.data(),
                                 std::min<std::size_t>(column.length, column.bytes.size()));
    switch (column.form) {
        case Form::Integer:
            target.AppendInt64(Read<std::int64_t>(column.bytes));
            break;
        case Form::Unsigned:
            AppendUnsigned(target, Read<std::uint64_t>(column.bytes));
            break;
        case Form::Flag:
            AppendFlag(target, Read<std::int64_t>(column.bytes));
            break;
        case Form::Bits:
            column.type == QXValueType::Bool
                ? AppendFlag(target, static_cast<std::int64_t>(BigEndian(bytes)))
                : AppendUnsigned(target, BigEndian(bytes));
            break;
        case Form::Float:
            target.AppendDouble(static_cast<double>(Read<float>(column.bytes)));
            break;
        case Form::Double:
            target.AppendDouble(Read<double>(column.bytes));
            break;
        case Form::Typed:
            column.type == QXValueType::Blob ? target.AppendBytes(bytes, QXValueType::Blob)
                                             : AppendTextAs(target, column.type, bytes);
    }
}

}  // namespace CQXDB::adapter::mysql
