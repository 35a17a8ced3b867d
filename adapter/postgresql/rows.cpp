#include "adapter/postgresql/rows.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <string_view>

#include "adapter/postgresql/types.h"
#include "adapter/text_value.h"

namespace CQXDB::adapter::postgresql {
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

void PgPageReader::AddColumns(const PGresult* result) {
    for (int index = 0; index < PQnfields(result); ++index) {
        types_.push_back(PgValueType(PQftype(result, index)));
        rs_.AddColumn(PQfname(result, index), types_.back());
    }
}

/// One row after the other, as they lie in libpq's memory.
void PgPageReader::AppendRows(const PGresult* result, std::int64_t first, std::int64_t last) {
    if (last - first > 1) {
        for (std::size_t index = 0; index < types_.size(); ++index) {
            rs_.MutableColumn(index).Reserve(static_cast<std::size_t>(last - first));
        }
    }
    for (std::int64_t row = first; row < last; ++row) {
        for (std::size_t index = 0; index < types_.size(); ++index) {
            AppendCell(rs_.MutableColumn(index), types_[index], result, static_cast<int>(row),
                       static_cast<int>(index));
        }
    }
}

void PgPageReader::operator()(const PGresult* result) {
    if (rs_.ColumnCount() == 0) {
        AddColumns(result);
    }
    const std::int64_t rows = PQntuples(result);
    const std::int64_t first = std::min(skip_, rows);
    const std::int64_t last = first + std::min(page_.count - taken_, rows - first);
    skip_ -= first;
    taken_ += last - first;
    AppendRows(result, first, last);
    page_.CheckBytes(rs_);
}

}  // namespace CQXDB::adapter::postgresql
