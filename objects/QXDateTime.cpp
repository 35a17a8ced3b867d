#include <string>

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

/// The digits of `number` without its sign, with zeros before up to `width`.
void AddDigits(std::string& text, std::int64_t number, std::size_t width) {
    char digits[24];
    char* const end = digits + sizeof digits;
    char* next = end;
    for (; number != 0 || static_cast<std::size_t>(end - next) < width; number /= 10) {
        *--next = static_cast<char>('0' + (number < 0 ? -(number % 10) : number % 10));
    }
    text.append(next, static_cast<std::size_t>(end - next));
}

/// `micros` may be negative; the parts then are too, and are written without their signs.
void AddClock(std::string& text, std::int64_t micros) {
    const Clock clock = SplitClock(micros);
    AddDigits(text, clock.hours, 2);
    text += ':';
    AddDigits(text, clock.minutes, 2);
    text += ':';
    AddDigits(text, clock.seconds, 2);
    if (clock.micros != 0) {
        text += '.';
        AddDigits(text, clock.micros, 6);
        text.erase(text.find_last_not_of('0') + 1);
    }
}

void AddDate(std::string& text, std::int32_t days) {
    std::int32_t year = 0;
    unsigned month = 0;
    unsigned day = 0;
    QXDateTime::CivilFromDays(days, year, month, day);
    text += year < 0 ? "-" : "";
    AddDigits(text, year, 4);
    text += '-';
    AddDigits(text, month, 2);
    text += '-';
    AddDigits(text, day, 2);
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
    std::string text;
    AddDate(text, days);
    return text;
}

std::string QXDateTime::FormatTime(std::int64_t micros) {
    std::string text = micros < 0 ? "-" : "";
    AddClock(text, micros);
    return text;
}

std::string QXDateTime::FormatTimestamp(std::int64_t micros) {
    std::int64_t days = micros / kMicrosPerDay;
    std::int64_t rest = micros % kMicrosPerDay;
    if (rest < 0) {
        --days;
        rest += kMicrosPerDay;
    }
    std::string text;
    AddDate(text, static_cast<std::int32_t>(days));
    text += ' ';
    AddClock(text, rest);
    return text;
}

}  // namespace CQXDB
