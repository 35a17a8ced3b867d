#include "adapter/sqlite_rows.h"

#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "adapter/decimal_text.h"
#include "adapter/text_value.h"

namespace CQXDB::adapter {
namespace {

std::string_view OrEmpty(const char* text) noexcept {
    return text == nullptr ? "" : text;
}

std::string_view TextOf(sqlite3_stmt* statement, int index) {
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement, index));
    if (bytes == nullptr) {
        throw std::bad_alloc();
    }
    return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement, index))};
}

std::string_view BlobOf(sqlite3_stmt* statement, int index) {
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, index));
    const auto count = static_cast<std::size_t>(sqlite3_column_bytes(statement, index));
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

void AppendText(QXColumn& target, QXValueType declared, std::string_view text) {
    const bool written = declared == QXValueType::Date || declared == QXValueType::Time ||
                         declared == QXValueType::Timestamp || declared == QXValueType::Decimal;
    AppendTextAs(target, written ? declared : QXValueType::Text, text);
}

}  // namespace

SqliteRowReader::SqliteRowReader(sqlite3_stmt* statement, QXRecordset& rs)
    : rs_(rs), statement_(statement) {
    const int count = sqlite3_column_count(statement);
    for (int i = 0; i < count; ++i) {
        const DeclaredType declared =
            ReadDeclaredType(OrEmpty(sqlite3_column_decltype(statement, i)));
        rs.AddColumn(OrEmpty(sqlite3_column_name(statement, i)), declared.type);
        columns_.push_back({nullptr, declared});
    }
    FindTargets();
}

void SqliteRowReader::FindTargets() {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        columns_[i].target = &rs_.MutableColumn(i);
    }
}

QXRecordset SqliteRowReader::TakePart() {
    QXRecordset part(std::move(rs_));
    rs_.Clear();
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        const QXColumn& before = part.Column(i);
        rs_.AddColumn(before.NameUtf8(), columns_[i].declared.type).Reserve(before.RowCount());
    }
    FindTargets();
    return part;
}

void SqliteRowReader::Append() {
    int index = 0;
    for (const Column& column : columns_) {
        AppendCell(index++, column);
    }
}

void SqliteRowReader::AppendCell(int index, const Column& column) {
    switch (sqlite3_column_type(statement_, index)) {
        case SQLITE_INTEGER:
            AppendInteger(*column.target, column.declared, sqlite3_column_int64(statement_, index));
            break;
        case SQLITE_FLOAT:
            AppendReal(*column.target, column.declared, sqlite3_column_double(statement_, index));
            break;
        case SQLITE_TEXT:
            AppendText(*column.target, column.declared.type, TextOf(statement_, index));
            break;
        case SQLITE_BLOB:
            column.target->AppendBytes(BlobOf(statement_, index), QXValueType::Blob);
            break;
        default:
            column.target->AppendNull();
    }
}

}  // namespace CQXDB::adapter
