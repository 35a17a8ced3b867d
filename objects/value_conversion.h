// The conversions of a value or cell to the types that a caller may ask for.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <qxdb/QXEnums.h>

namespace CQXDB {

/// A value where it stands; `bytes` belongs to the value or column.
struct ValueView {
    QXValueType type = QXValueType::Null;
    std::int64_t number = 0;  ///< a double as its bits
    std::string_view bytes;
};

bool ToBool(const ValueView& value) noexcept;
std::int64_t ToInt64(const ValueView& value) noexcept;
double ToDouble(const ValueView& value) noexcept;
std::string ToUtf8(const ValueView& value);

}  // namespace CQXDB
