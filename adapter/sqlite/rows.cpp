#include "adapter/sqlite/rows.h"

#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "adapter/decimal_text.h"
#include "adapter/text_value.h"
#include "util/ascii.h"

namespace CQXDB::adapter::sqlite {
namespace {

std::string_view OrEmpty(const char* text) noexcept {
    return text == nullptr ? "" : text;
}

std::string_view TextOf(sqlite3_value* value) {
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_value_text(value));
    if (bytes == nullptr) {
        throw std::bad_alloc();
    }
    return {bytes, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

std::string_view BlobOf(sqlite3_value* value) {
    const auto* bytes = static_cast<const char*>(sqlite3_value_blob(value));
    const auto count = static_cast<std::size_t>(sqlite3_value_bytes(value));
    if (bytes == nullptr && count > 0) {
        throw std::bad_alloc();
    }
    return {bytes, count};
}

void AppendInteger(QXColumn& target, const DeclaredType& declared, std::int64_t number) {
    if (declared.type == QXValueType::Bool && (number == 0 || number == 1)) {
        target.AppendInt64(number, QXValueType::Bool);
    } else if (declared.type == QXValueType::Decimal) {
        target.AppendBytes(DecimalOf(number, declared.scale), QXValueType::Decimal);
    } else {
        target.AppendInt64(number);
    }
}

void AppendReal(QXColumn& target, const DeclaredType& declared, double number) {
    if (declared.type == QXValueType::Decimal) {
        const std::string decimal = DecimalOf(number, declared.scale);
        if (!decimal.empty()) {
            target.AppendBytes(decimal, QXValueType::Decimal);
            return;
        }
    }
    target.AppendDouble(number);
}

/// False for a time with more digits behind its point than a value keeps, which stays a text.
bool FitsMicroseconds(std::string_view text) noexcept {
    constexpr std::size_t kDigits = 6;
    const std::size_t point = text.find('.');
    if (point == std::string_view::npos || text.size() <= point + 1 + kDigits) {
        return true;
    }
    const std::size_t lost = text.find_first_not_of('0', point + 1 + kDigits);
    return lost == std::string_view::npos || !CQXBASE::IsAsciiDigit(text[lost]);
}

void AppendText(QXColumn& target, QXValueType declared, std::string_view text) {
    const bool clock = declared == QXValueType::Time || declared == QXValueType::Timestamp;
    const bool written = declared == QXValueType::Date || declared == QXValueType::Decimal ||
                         (clock && FitsMicroseconds(text));
    AppendTextAs(target, written ? declared : QXValueType::Text, text);
}

}  // namespace

SqliteRowReader::SqliteRowReader(sqlite3_stmt* statement, QXRecordset& rs)
    : rs_(rs), statement_(statement) {
    const int count = sqlite3_column_count(statement);
    for (int i = 0; i < count; ++i) {
        const DeclaredType declared =
            ReadDeclaredType(OrEmpty(sqlite3_column_decltype(statement, i)));
        columns_.push_back(
            {&rs.AddColumn(OrEmpty(sqlite3_column_name(statement, i)), declared.type), declared});
    }
}

QXRecordset SqliteRowReader::TakePart() {
    QXRecordset part(std::move(rs_));
    rs_.Clear();
    std::size_t index = 0;
    for (Column& column : columns_) {
        const QXColumn& before = part.Column(index++);
        column.target = &rs_.AddColumn(before.NameUtf8(), column.declared.type);
        column.target->Reserve(before.RowCount());
    }
    return part;
}

std::size_t SqliteRowReader::Append() {
    std::size_t bytes = 0;
    int index = 0;
    for (const Column& column : columns_) {
        bytes += AppendCell(index++, column);
    }
    return bytes;
}

std::size_t SqliteRowReader::AppendCell(int index, const Column& column) {
    // Looked up once: the calls by column would do so each time. Nobody else uses the connection
    // meanwhile, which is what a value asks for that isn't protected by SQLite's own lock.
    sqlite3_value* const value = sqlite3_column_value(statement_, index);
    std::string_view bytes;
    switch (sqlite3_value_type(value)) {
        case SQLITE_INTEGER:
            AppendInteger(*column.target, column.declared, sqlite3_value_int64(value));
            break;
        case SQLITE_FLOAT:
            AppendReal(*column.target, column.declared, sqlite3_value_double(value));
            break;
        case SQLITE_TEXT:
            bytes = TextOf(value);
            AppendText(*column.target, column.declared.type, bytes);
            break;
        case SQLITE_BLOB:
            bytes = BlobOf(value);
            column.target->AppendBytes(bytes, QXValueType::Blob);
            break;
        default:
            column.target->AppendNull();
    }
    return bytes.size();
}

}  // namespace CQXDB::adapter::sqlite
