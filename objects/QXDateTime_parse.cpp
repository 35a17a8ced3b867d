// Reading ISO 8601 texts.
#include <cstdint>
#include <limits>

#include <qxdb/QXDateTime.h>

#include "objects/text_scanner.h"

namespace CQXDB {
namespace {

constexpr std::int64_t kMicrosPerMinute = 60 * QXDateTime::kMicrosPerSecond;
constexpr std::int64_t kMaxHours =
    std::numeric_limits<std::int64_t>::max() / (60 * kMicrosPerMinute) - 1;
constexpr std::size_t kFractionDigits = 6;  ///< further ones are cut off
constexpr std::int64_t kMaxYear = 5800000;  ///< days of it fit 32 bits
constexpr std::int64_t kMaxTimestampDays =
    std::numeric_limits<std::int64_t>::max() / QXDateTime::kMicrosPerDay - 2;

unsigned DaysInMonth(std::int64_t year, std::int64_t month) noexcept {
    if (month == 2) {
        return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0) ? 29 : 28;
    }
    return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

bool TakeDate(TextScanner& scanner, std::int32_t& days) noexcept {
    const bool negative = scanner.Take('-');
    std::int64_t year = 0;
    std::int64_t month = 0;
    std::int64_t day = 0;
    if (!scanner.TakeNumber(4, 7, year) || !scanner.Take('-') || !scanner.TakeNumber(2, 2, month) ||
        !scanner.Take('-') || !scanner.TakeNumber(2, 2, day) || year > kMaxYear) {
        return false;
    }
    year = negative ? -year : year;
    if (month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month)) {
        return false;
    }
    days = QXDateTime::DaysFromCivil(static_cast<std::int32_t>(year), static_cast<unsigned>(month),
                                     static_cast<unsigned>(day));
    return true;
}

bool TakeClock(TextScanner& scanner, std::int64_t& micros) noexcept {
    std::int64_t hours = 0;
    std::int64_t minutes = 0;
    std::int64_t seconds = 0;
    std::int64_t fraction = 0;
    if (!scanner.TakeNumber(1, 10, hours) || hours > kMaxHours || !scanner.Take(':') ||
        !scanner.TakeNumber(2, 2, minutes) || minutes > 59) {
        return false;
    }
    if (scanner.Take(':') && (!scanner.TakeNumber(2, 2, seconds) || seconds > 59)) {
        return false;
    }
    if (scanner.Take('.') && !scanner.TakeFraction(kFractionDigits, fraction)) {
        return false;
    }
    micros = (hours * 60 + minutes) * kMicrosPerMinute + seconds * QXDateTime::kMicrosPerSecond +
             fraction;
    return true;
}

/// "Z", "+02", "+0230", "+02:30" or nothing.
bool TakeOffset(TextScanner& scanner, std::int64_t& micros) noexcept {
    micros = 0;
    const bool west = scanner.Take('-');
    if (!west && !scanner.Take('+')) {
        scanner.Take('Z');
        return true;
    }
    std::int64_t hours = 0;
    std::int64_t minutes = 0;
    if (!scanner.TakeNumber(2, 2, hours)) {
        return false;
    }
    const bool colon = scanner.Take(':');
    if (!scanner.TakeNumber(2, 2, minutes) && colon) {
        return false;
    }
    micros = (hours * 60 + minutes) * (west ? -kMicrosPerMinute : kMicrosPerMinute);
    return hours < 24 && minutes < 60;
}

}  // namespace

bool QXDateTime::ParseDate(std::string_view text, std::int32_t& days) noexcept {
    TextScanner scanner(text);
    std::int32_t read = 0;
    if (!TakeDate(scanner, read) || !scanner.AtEnd()) {
        return false;
    }
    days = read;
    return true;
}

bool QXDateTime::ParseTime(std::string_view text, std::int64_t& micros) noexcept {
    TextScanner scanner(text);
    const bool negative = scanner.Take('-');
    std::int64_t read = 0;
    if (!TakeClock(scanner, read) || !scanner.AtEnd()) {
        return false;
    }
    micros = negative ? -read : read;
    return true;
}

bool QXDateTime::ParseTimestamp(std::string_view text, std::int64_t& micros) noexcept {
    TextScanner scanner(text);
    std::int32_t days = 0;
    std::int64_t clock = 0;
    std::int64_t offset = 0;
    if (!TakeDate(scanner, days) || days > kMaxTimestampDays || days < -kMaxTimestampDays) {
        return false;
    }
    if (!scanner.AtEnd() &&
        ((!scanner.Take('T') && !scanner.Take(' ')) || !TakeClock(scanner, clock) ||
         clock >= kMicrosPerDay || !TakeOffset(scanner, offset) || !scanner.AtEnd())) {
        return false;
    }
    micros = days * kMicrosPerDay + clock - offset;
    return true;
}

}  // namespace CQXDB
