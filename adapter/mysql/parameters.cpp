#include "adapter/mysql/parameters.h"

#include <cmath>
#include <cstdint>
#include <string_view>

#include "adapter/database_error.h"

namespace CQXDB::adapter::mysql {

MySqlParameters::MySqlParameters(const Parameters& values) {
    texts_.reserve(values.size());
    integers_.reserve(values.size());
    doubles_.reserve(values.size());
    binds_.reserve(values.size());
    for (const QXValue& value : values) {
        Add(value);
    }
}

void MySqlParameters::Add(const QXValue& value) {
    switch (value.Type()) {
        case QXValueType::Bool:
        case QXValueType::Int64:
            integers_.push_back(value.RawInt64());
            AddNumber(MYSQL_TYPE_LONGLONG, &integers_.back());
            break;
        case QXValueType::Double:
            AddDouble(value.RawDouble());
            break;
        case QXValueType::Decimal:
            AddBytes(MYSQL_TYPE_NEWDECIMAL, value.Bytes());
            break;
        case QXValueType::Text:
            AddBytes(MYSQL_TYPE_STRING, value.Bytes());
            break;
        case QXValueType::Blob:
            AddBytes(MYSQL_TYPE_BLOB, value.Bytes());
            break;
        case QXValueType::Date:
        case QXValueType::Time:
        case QXValueType::Timestamp:
            texts_.push_back(value.ToUtf8());
            AddBytes(MYSQL_TYPE_STRING, texts_.back());
            break;
        case QXValueType::Null:
        case QXValueType::Mixed:
            AddNumber(MYSQL_TYPE_NULL, nullptr);
    }
}

void MySqlParameters::AddDouble(double number) {
    if (!std::isfinite(number)) {
        throw DatabaseError(DBMGR_BAD_VALUE, "parameter " + std::to_string(binds_.size() + 1) +
                                                 " is infinite or not a number, which MySQL can't "
                                                 "store");
    }
    doubles_.push_back(number);
    AddNumber(MYSQL_TYPE_DOUBLE, &doubles_.back());
}

void MySqlParameters::AddNumber(enum_field_types type, const void* number) {
    MYSQL_BIND bind{};
    bind.buffer_type = type;
    bind.buffer = const_cast<void*>(number);
    binds_.push_back(bind);
}

void MySqlParameters::AddBytes(enum_field_types type, std::string_view bytes) {
    AddNumber(type, bytes.data());
    binds_.back().buffer_length = static_cast<unsigned long>(bytes.size());
}

}  // namespace CQXDB::adapter::mysql
