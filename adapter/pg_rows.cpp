#include "adapter/pg_rows.h"

#include <cstddef>
#include <memory>
#include <new>
#include <string_view>

#include "adapter/pg_types.h"
#include "adapter/text_value.h"

namespace CQXDB::adapter {
namespace {

void AppendBytea(QXColumn& column, const char* text) {
    const auto* source = reinterpret_cast<const unsigned char*>(text);
    std::size_t count = 0;
    const std::unique_ptr<unsigned char, void (*)(void*)> bytes(PQunescapeBytea(source, &count),
                                                                PQfreemem);
    if (!bytes) {
        throw std::bad_alloc();
    }
    column.AppendBytes({reinterpret_cast<const char*>(bytes.get()), count}, QXValueType::Blob);
}

void AppendCell(QXColumn& column, QXValueType type, const PGresult* result, int row, int index) {
    if (PQgetisnull(result, row, index) != 0) {
        column.AppendNull();
    } else if (type == QXValueType::Blob) {
        AppendBytea(column, PQgetvalue(result, row, index));
    } else {
        const auto length = static_cast<std::size_t>(PQgetlength(result, row, index));
        AppendTextAs(column, type, {PQgetvalue(result, row, index), length});
    }
}

}  // namespace

void AppendPgRows(const PGresult* result, std::int64_t first, std::int64_t last, QXRecordset& rs) {
    for (int index = 0; index < PQnfields(result); ++index) {
        const QXValueType type = PgValueType(PQftype(result, index));
        QXColumn& column = rs.AddColumn(PQfname(result, index), type);
        column.Reserve(first < last ? static_cast<std::size_t>(last - first) : 0);
        for (std::int64_t row = first; row < last; ++row) {
            AppendCell(column, type, result, static_cast<int>(row), index);
        }
    }
}

}  // namespace CQXDB::adapter
