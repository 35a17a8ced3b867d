// The type numbers of PostgreSQL that have a value type of their own here; all others are text.
#pragma once

#include <libpq-fe.h>

#include <qxdb/QXEnums.h>

namespace CQXDB::adapter::postgresql {

namespace pg {
constexpr Oid kBool = 16;
constexpr Oid kBytea = 17;
constexpr Oid kInt8 = 20;
constexpr Oid kInt2 = 21;
constexpr Oid kInt4 = 23;
constexpr Oid kOid = 26;
constexpr Oid kFloat4 = 700;
constexpr Oid kFloat8 = 701;
constexpr Oid kDate = 1082;
constexpr Oid kTime = 1083;
constexpr Oid kTimestamp = 1114;
constexpr Oid kTimestampTz = 1184;
constexpr Oid kNumeric = 1700;
}  // namespace pg

constexpr QXValueType PgValueType(Oid type) noexcept {
    switch (type) {
        case pg::kBool:
            return QXValueType::Bool;
        case pg::kInt8:
        case pg::kInt2:
        case pg::kInt4:
        case pg::kOid:
            return QXValueType::Int64;
        case pg::kFloat4:
        case pg::kFloat8:
            return QXValueType::Double;
        case pg::kNumeric:
            return QXValueType::Decimal;
        case pg::kBytea:
            return QXValueType::Blob;
        case pg::kDate:
            return QXValueType::Date;
        case pg::kTime:
            return QXValueType::Time;
        case pg::kTimestamp:
        case pg::kTimestampTz:
            return QXValueType::Timestamp;
        default:
            return QXValueType::Text;
    }
}

}  // namespace CQXDB::adapter::postgresql
