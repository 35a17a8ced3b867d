#include <cstdio>
#include <cstdlib>

#include <qxdb/QXDateTime.h>

namespace CQXDB {
namespace {

// Years are counted from March, so that a leap day ends its year, in eras of 400 years.
constexpr std::int64_t kDaysPerEra = 146097;
constexpr std::int64_t kDaysToEpoch = 719468;  // from 0000-03-01 to 1970-01-01

struct Clock {
    std::int64_t hours;
    int minutes;
    int seconds;
    int micros;
};

Clock SplitClock(std::int64_t micros) {
    const std::int64_t seconds = micros / QXDateTime::kMicrosPerSecond;
    return {seconds / 3600, static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60),
            static_cast<int>(micros % QXDateTime::kMicrosPerSecond)};
}

/// `micros` may be negative; the parts then are too, and are written without their signs.
std::string FormatClock(std::int64_t micros) {
    const Clock clock = SplitClock(micros);
    char text[48];
    std::snprintf(text, sizeof text, "%02lld:%02d:%02d", std::llabs(clock.hours),
                  std::abs(clock.minutes), std::abs(clock.seconds));
    std::string result = text;
    if (clock.micros != 0) {
        std::snprintf(text, sizeof text, ".%06d", std::abs(clock.micros));
        result += text;
        result.erase(result.find_last_not_of('0') + 1);
    }
    return result;
}

}  // namespace

std::int32_t QXDateTime::DaysFromCivil(std::int32_t year, unsigned month, unsigned day) noexcept {
    const std::int64_t y = std::int64_t{year} - (month <= 2 ? 1 : 0);
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const std::int64_t yearOfEra = y - era * 400;
    const std::int64_t dayOfYear = (153 * ((month + 9) % 12) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return static_cast<std::int32_t>(era * kDaysPerEra + dayOfEra - kDaysToEpoch);
}

void QXDateTime::CivilFromDays(std::int32_t days, std::int32_t& year, unsigned& month,
                               unsigned& day) noexcept {
    const std::int64_t z = std::int64_t{days} + kDaysToEpoch;
    const std::int64_t era = (z >= 0 ? z : z - (kDaysPerEra - 1)) / kDaysPerEra;
    const std::int64_t dayOfEra = z - era * kDaysPerEra;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    day = static_cast<unsigned>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
    month = static_cast<unsigned>(monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9);
    year = static_cast<std::int32_t>(yearOfEra + era * 400 + (month <= 2 ? 1 : 0));
}

std::int64_t QXDateTime::Timestamp(std::int32_t year, unsigned month, unsigned day, unsigned hour,
                                   unsigned minute, unsigned second, unsigned micros) noexcept {
    const std::int64_t seconds =
        std::int64_t{hour} * 3600 + std::int64_t{minute} * 60 + std::int64_t{second};
    return DaysFromCivil(year, month, day) * kMicrosPerDay + seconds * kMicrosPerSecond + micros;
}

std::string QXDateTime::FormatDate(std::int32_t days) {
    std::int32_t year = 0;
    unsigned month = 0;
    unsigned day = 0;
    CivilFromDays(days, year, month, day);
    char text[48];
    std::snprintf(text, sizeof text, "%s%04d-%02u-%02u", year < 0 ? "-" : "", std::abs(year), month,
                  day);
    return text;
}

std::string QXDateTime::FormatTime(std::int64_t micros) {
    return (micros < 0 ? "-" : "") + FormatClock(micros);
}

std::string QXDateTime::FormatTimestamp(std::int64_t micros) {
    std::int64_t days = micros / kMicrosPerDay;
    std::int64_t rest = micros % kMicrosPerDay;
    if (rest < 0) {
        --days;
        rest += kMicrosPerDay;
    }
    return FormatDate(static_cast<std::int32_t>(days)) + ' ' + FormatClock(rest);
}

}  // namespace CQXDB
