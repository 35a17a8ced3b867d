// What SQLite knows of a result's columns.
#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>

#include "adapter/sqlite/declared_type.h"
#include "adapter/sqlite/statement.h"
#include "util/text.h"

namespace CQXDB::adapter::sqlite {
namespace {

std::string_view OrEmpty(const char* text) noexcept {
    return text == nullptr ? std::string_view() : text;
}

/// The numbers in "(20)" or "(10, 2)"; -1 for one that isn't there.
struct Size {
    explicit Size(std::string_view declaration) noexcept {
        const std::size_t open = declaration.find('(');
        const std::size_t comma = declaration.find(',', open);
        if (open != std::string_view::npos) {
            first = Number(declaration.substr(open + 1));
        }
        if (open != std::string_view::npos && comma != std::string_view::npos) {
            second = Number(declaration.substr(comma + 1));
        }
    }

    std::int64_t first = -1;
    std::int64_t second = -1;

  private:
    static std::int64_t Number(std::string_view text) noexcept {
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
        std::int64_t number = -1;
        std::from_chars(text.data(), text.data() + text.size(), number);
        return number;
    }
};

void AddDeclared(QXColumnInfo& info, std::string_view declaration) {
    info.declaredType = CQXBASE::Utf8ToWide(declaration);
    info.type = ReadDeclaredType(declaration).type;
    const Size size(declaration);
    if (info.type == QXValueType::Text || info.type == QXValueType::Blob) {
        info.length = size.first;
    } else if (info.type == QXValueType::Decimal) {
        info.precision = size.first;
        info.scale = size.first >= 0 && size.second < 0 ? 0 : size.second;
    }
}

}  // namespace

std::vector<QXColumnInfo> SqliteStatement::Describe() {
    const SqliteHeap::Scope scope(session_.Heap());
    std::vector<QXColumnInfo> columns;
    const int count = sqlite3_column_count(handle_.get());
    for (int i = 0; i < count; ++i) {
        QXColumnInfo& info = columns.emplace_back();
        info.name = CQXBASE::Utf8ToWide(OrEmpty(sqlite3_column_name(handle_.get(), i)));
        AddDeclared(info, OrEmpty(sqlite3_column_decltype(handle_.get(), i)));
        const char* const schema = sqlite3_column_database_name(handle_.get(), i);
        const char* const table = sqlite3_column_table_name(handle_.get(), i);
        const char* const column = sqlite3_column_origin_name(handle_.get(), i);
        info.schema = CQXBASE::Utf8ToWide(OrEmpty(schema));
        info.table = CQXBASE::Utf8ToWide(OrEmpty(table));
        info.column = CQXBASE::Utf8ToWide(OrEmpty(column));
        int notNull = 0;
        if (column != nullptr &&
            sqlite3_table_column_metadata(session_.db, schema, table, column, nullptr, nullptr,
                                          &notNull, nullptr, nullptr) == SQLITE_OK) {
            info.nullable = notNull != 0 ? QXNULLABLE_NO : QXNULLABLE_YES;
        }
    }
    return columns;
}

}  // namespace CQXDB::adapter::sqlite
