// What PostgreSQL knows of a result's columns.
#include <string>

#include "adapter/postgresql/connection.h"
#include "adapter/postgresql/statement.h"
#include "adapter/postgresql/types.h"
#include "util/text.h"

namespace CQXDB::adapter::postgresql {
namespace {

constexpr Oid kBpchar = 1042;
constexpr Oid kVarchar = 1043;
constexpr Oid kTimeTz = 1266;
constexpr int kHeader = 4;  ///< which the server adds to some modifiers
constexpr std::int64_t kMicroseconds = 6;

void AddSizes(QXColumnInfo& info, Oid type, int modifier) {
    const bool given = modifier >= kHeader;
    switch (type) {
        case kBpchar:
        case kVarchar:
            info.length = given ? modifier - kHeader : -1;
            break;
        case pg::kNumeric:
            if (given) {
                constexpr int kScaleBits = 0x7ff;
                constexpr int kScaleSign = 0x400;
                info.precision = (modifier - kHeader) >> 16 & 0xffff;
                info.scale = (((modifier - kHeader) & kScaleBits) ^ kScaleSign) - kScaleSign;
            }
            break;
        case pg::kTime:
        case kTimeTz:
        case pg::kTimestamp:
        case pg::kTimestampTz:
            info.precision = modifier >= 0 ? modifier : kMicroseconds;
            break;
        default:
            break;
    }
}

/// Looks up what the protocol tells by numbers alone.
std::string OriginsText(const PGresult* columns) {
    std::string text =
        "SELECT pg_catalog.format_type(v.type, v.modifier), n.nspname, c.relname, a.attname, "
        "a.attnotnull FROM (VALUES ";
    for (int i = 0; i < PQnfields(columns); ++i) {
        text += (i == 0 ? "(" : ", (") + std::to_string(i) + ", " +
                std::to_string(PQftype(columns, i)) + "::oid, " +
                std::to_string(PQfmod(columns, i)) + ", " + std::to_string(PQftable(columns, i)) +
                "::oid, " + std::to_string(PQftablecol(columns, i)) + ")";
    }
    return text +
           ") v(i, type, modifier, relation, attribute) "
           "LEFT JOIN pg_catalog.pg_class c ON c.oid = v.relation "
           "LEFT JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace "
           "LEFT JOIN pg_catalog.pg_attribute a ON a.attrelid = c.oid AND a.attnum = v.attribute "
           "ORDER BY v.i";
}

std::wstring Cell(const PGresult* result, int row, int column) {
    return CQXBASE::Utf8ToWide(PQgetvalue(result, row, column));
}

void AddOrigin(QXColumnInfo& info, const PGresult* result, int row) {
    info.declaredType = Cell(result, row, 0);
    info.schema = Cell(result, row, 1);
    info.table = Cell(result, row, 2);
    info.column = Cell(result, row, 3);
    if (PQgetisnull(result, row, 4) == 0) {
        info.nullable = *PQgetvalue(result, row, 4) == 't' ? QXNULLABLE_NO : QXNULLABLE_YES;
    }
}

}  // namespace

std::vector<QXColumnInfo> PgStatement::Describe() {
    const PgResult described = connection_.Describe(native_.sql);
    std::vector<QXColumnInfo> columns;
    for (int i = 0; i < PQnfields(described.get()); ++i) {
        QXColumnInfo& info = columns.emplace_back();
        info.name = CQXBASE::Utf8ToWide(PQfname(described.get(), i));
        info.type = PgValueType(PQftype(described.get(), i));
        AddSizes(info, PQftype(described.get(), i), PQfmod(described.get(), i));
    }
    if (columns.empty()) {
        return columns;
    }
    std::size_t next = 0;
    connection_.RunText(OriginsText(described.get()), [&](const PGresult* result) {
        for (int row = 0; row < PQntuples(result); ++row) {
            AddOrigin(columns.at(next++), result, row);
        }
    });
    return columns;
}

}  // namespace CQXDB::adapter::postgresql
