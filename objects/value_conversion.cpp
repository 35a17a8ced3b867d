#include "objects/value_conversion.h"

#include <cmath>
#include <limits>

#include <qxdb/QXDateTime.h>

#include "objects/number_text.h"
#include "util/ascii.h"
#include "util/double_bits.h"

namespace CQXDB {
namespace {

std::int64_t Saturate(double value) noexcept {
    constexpr double kLimit = 9223372036854775808.0;  // 2 to the 63rd
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= kLimit) {
        return std::numeric_limits<std::int64_t>::max();
    }
    return value < -kLimit ? std::numeric_limits<std::int64_t>::min()
                           : static_cast<std::int64_t>(value);
}

bool IsTrueWord(std::string_view text) noexcept {
    return CQXBASE::SameAsciiWord(text, "t") || CQXBASE::SameAsciiWord(text, "true");
}

std::string Hex(std::string_view bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text = "\\x";
    text.reserve(2 + 2 * bytes.size());
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += kDigits[value >> 4];
        text += kDigits[value & 15];
    }
    return text;
}

}  // namespace

bool ToBool(const ValueView& value) noexcept {
    return (value.type == QXValueType::Text && IsTrueWord(value.bytes)) || ToDouble(value) != 0;
}

std::int64_t ToInt64(const ValueView& value) noexcept {
    switch (value.type) {
        case QXValueType::Double:
            return Saturate(CQXBASE::BitsToDouble(value.number));
        case QXValueType::Decimal:
        case QXValueType::Text:
            return ParseInt64(value.bytes);
        default:
            return value.number;
    }
}

double ToDouble(const ValueView& value) noexcept {
    switch (value.type) {
        case QXValueType::Double:
            return CQXBASE::BitsToDouble(value.number);
        case QXValueType::Decimal:
        case QXValueType::Text:
            return ParseDouble(value.bytes);
        default:
            return static_cast<double>(value.number);
    }
}

std::string ToUtf8(const ValueView& value) {
    switch (value.type) {
        case QXValueType::Bool:
            return value.number != 0 ? "true" : "false";
        case QXValueType::Int64:
            return std::to_string(value.number);
        case QXValueType::Double:
            return FormatDouble(CQXBASE::BitsToDouble(value.number));
        case QXValueType::Decimal:
        case QXValueType::Text:
            return std::string(value.bytes);
        case QXValueType::Blob:
            return Hex(value.bytes);
        case QXValueType::Date:
            return QXDateTime::FormatDate(static_cast<std::int32_t>(value.number));
        case QXValueType::Time:
            return QXDateTime::FormatTime(value.number);
        case QXValueType::Timestamp:
            return QXDateTime::FormatTimestamp(value.number);
        default:
            return {};
    }
}

}  // namespace CQXDB
