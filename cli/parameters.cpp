#include "cli/parameters.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>

#include <qxdb/QXDateTime.h>

#include "cli/exit_status.h"
#include "util/number.h"

namespace CQXCLI {

using CQXDB::QXDateTime;
using CQXDB::QXValue;

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
    if (IsPlainNumber(text) && !ParseInt64(text, value)) {
        ParseDecimal(text, value);
    }
    return value;
}

bool ParseHex(std::string_view text, QXValue& value) {
    return ParseBlob(text.substr(0, 2) == "\\x" ? text : "\\x" + std::string(text), value);
}

bool ParseText(std::string_view text, QXValue& value) {
    value = QXValue::TextUtf8(text);
    return true;
}

struct Reader {
    std::string_view type;
    bool (*read)(std::string_view, QXValue&);
};

constexpr Reader kReaders[] = {
    {"int", ParseInt64}, {"double", ParseDouble},       {"decimal", ParseDecimal},
    {"bool", ParseBool}, {"text", ParseText},           {"date", ParseDate},
    {"time", ParseTime}, {"timestamp", ParseTimestamp}, {"blob", ParseHex},
};

}  // namespace

QXValue ParseParameter(std::string_view text) {
    if (text == "null") {
        return QXValue::Null();
    }
    const std::size_t colon = text.find(':');
    for (const Reader& reader : kReaders) {
        if (colon == std::string_view::npos || text.substr(0, colon) != reader.type) {
            continue;
        }
        QXValue value;
        if (!reader.read(text.substr(colon + 1), value)) {
            throw CliError(kWrongUsage, "--param " + std::string(text) + ": \"" +
                                            std::string(text.substr(colon + 1)) +
                                            "\" is no value of the type " +
                                            std::string(reader.type));
        }
        return value;
    }
    return ParsePlain(text);
}

bool ParseInt64(std::string_view text, QXValue& value) {
    std::int64_t number = 0;
    const bool whole = CQXBASE::ReadWhole(text, number);
    value = whole ? QXValue::Int64(number) : value;
    return whole;
}

bool ParseDouble(std::string_view text, QXValue& value) {
    double number = 0;
    const bool whole = CQXBASE::ReadWhole(text, number);
    value = whole ? QXValue::Double(number) : value;
    return whole;
}

bool ParseDecimal(std::string_view text, QXValue& value) {
    const std::string_view number = WithoutSign(text);
    const auto points = std::count(number.begin(), number.end(), '.');
    const bool decimal = number.find_first_not_of("0123456789.") == std::string_view::npos &&
                         number.find_first_of(kDigits) != std::string_view::npos && points <= 1;
    value = decimal ? QXValue::Decimal(text) : value;
    return decimal;
}

bool ParseBool(std::string_view text, QXValue& value) {
    const bool yes = text == "true" || text == "t" || text == "1";
    const bool no = text == "false" || text == "f" || text == "0";
    value = yes || no ? QXValue::Bool(yes) : value;
    return yes || no;
}

bool ParseDate(std::string_view text, QXValue& value) {
    std::int32_t days = 0;
    const bool date = QXDateTime::ParseDate(text, days);
    value = date ? QXValue::Date(days) : value;
    return date;
}

bool ParseTime(std::string_view text, QXValue& value) {
    std::int64_t micros = 0;
    const bool time = QXDateTime::ParseTime(text, micros);
    value = time ? QXValue::Time(micros) : value;
    return time;
}

bool ParseTimestamp(std::string_view text, QXValue& value) {
    std::int64_t micros = 0;
    const bool timestamp = QXDateTime::ParseTimestamp(text, micros);
    value = timestamp ? QXValue::Timestamp(micros) : value;
    return timestamp;
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

}  // namespace CQXCLI
