#include "cli/parameters.h"

#include <charconv>
#include <cstdint>
#include <string>

#include <qxdb/QXDateTime.h>

#include "cli/exit_status.h"
#include "util/strict_parse.h"

namespace CQXCLI {

using CQXDB::QXDateTime;
using CQXDB::QXValue;
using CQXDB::QXValueType;

namespace {

constexpr std::string_view kDigits = "0123456789";

std::string_view WithoutSign(std::string_view text) {
    return text.substr(!text.empty() && text[0] == '-' ? 1 : 0);
}

/// Digits without a superfluous zero in front, and perhaps a point with digits behind it.
bool IsPlainNumber(std::string_view text) {
    const std::string_view number = WithoutSign(text);
    const std::size_t point = number.find_first_not_of(kDigits);
    if (point == 0 || number.empty() || (number[0] == '0' && point != 1 && number.size() > 1)) {
        return false;
    }
    return point == std::string_view::npos ||
           (number[point] == '.' && point + 1 < number.size() &&
            number.find_first_not_of(kDigits, point + 1) == std::string_view::npos);
}

QXValue ParsePlain(std::string_view text) {
    QXValue value = QXValue::TextUtf8(text);
    if (IsPlainNumber(text) && !ParseAs(QXValueType::Int64, text, value)) {
        ParseAs(QXValueType::Decimal, text, value);
    }
    return value;
}

/// Sets `value` to what `make` makes of what `read` reads.
template <typename Raw, typename Read, typename Make>
bool ParseWith(Read read, Make make, std::string_view text, QXValue& value) {
    Raw raw{};
    const bool whole = read(text, raw);
    value = whole ? make(raw) : value;
    return whole;
}

bool ParseBlob(std::string_view text, QXValue& value) {
    if (text.substr(0, 2) != "\\x" || text.size() % 2 != 0) {
        return false;
    }
    std::string bytes;
    for (std::size_t at = 2; at < text.size(); at += 2) {
        unsigned byte = 0;
        const char* const digits = text.data() + at;
        const auto [end, error] = std::from_chars(digits, digits + 2, byte, 16);
        if (error != std::errc() || end != digits + 2) {
            return false;
        }
        bytes += static_cast<char>(byte);
    }
    value = QXValue::Blob(bytes.data(), bytes.size());
    return true;
}

struct TypeName {
    std::string_view name;
    QXValueType type;
};

constexpr TypeName kTypes[] = {
    {"int", QXValueType::Int64},       {"double", QXValueType::Double},
    {"decimal", QXValueType::Decimal}, {"bool", QXValueType::Bool},
    {"text", QXValueType::Text},       {"date", QXValueType::Date},
    {"time", QXValueType::Time},       {"timestamp", QXValueType::Timestamp},
    {"blob", QXValueType::Blob},
};

}  // namespace

QXValue ParseParameter(std::string_view text) {
    if (text == "null") {
        return QXValue::Null();
    }
    const std::size_t colon = text.find(':');
    for (const TypeName& known : kTypes) {
        if (colon == std::string_view::npos || text.substr(0, colon) != known.name) {
            continue;
        }
        const std::string written(text.substr(colon + 1));
        const bool bare = known.type == QXValueType::Blob && written.substr(0, 2) != "\\x";
        QXValue value;
        if (!ParseAs(known.type, bare ? "\\x" + written : written, value)) {
            throw CliError(kWrongUsage, "--param " + std::string(text) + ": \"" + written +
                                            "\" is no value of the type " +
                                            std::string(known.name));
        }
        return value;
    }
    return ParsePlain(text);
}

bool ParseAs(QXValueType type, std::string_view text, QXValue& value) {
    switch (type) {
        case QXValueType::Int64:
            return ParseWith<std::int64_t>(CQXBASE::ParseWhole<std::int64_t>, QXValue::Int64, text,
                                           value);
        case QXValueType::Double:
            return ParseWith<double>(CQXBASE::ParseWhole<double>, QXValue::Double, text, value);
        case QXValueType::Bool:
            return ParseWith<bool>(CQXBASE::ParseFlag, QXValue::Bool, text, value);
        case QXValueType::Date:
            return ParseWith<std::int32_t>(QXDateTime::ParseDate, QXValue::Date, text, value);
        case QXValueType::Time:
            return ParseWith<std::int64_t>(QXDateTime::ParseTime, QXValue::Time, text, value);
        case QXValueType::Timestamp:
            return ParseWith<std::int64_t>(QXDateTime::ParseTimestamp, QXValue::Timestamp, text,
                                           value);
        case QXValueType::Blob:
            return ParseBlob(text, value);
        case QXValueType::Decimal:
            if (text.substr(0, 1) == "+" || !CQXBASE::IsDecimal(text)) {
                return false;
            }
            value = QXValue::Decimal(text);
            return true;
        case QXValueType::Text:
            value = QXValue::TextUtf8(text);
            return true;
        default:
            return false;
    }
}

}  // namespace CQXCLI
