#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include <qxdb/QXDateTime.h>

namespace CQXDB {
namespace {

// Years are counted from March, so that a leap day ends its year, in eras of 400 years.
constexpr std::int64_t kDaysPerEra = 146097;
constexpr std::int64_t kDaysToEpoch = 719468;  // from 0000-03-01 to 1970-01-01

/// Writes a text from its start to its end.
class Writer {
  public:
    explicit Writer(QXDateTime::TextRoom& room) noexcept : begin_(room.data()), next_(begin_) {}

    std::string_view Text() const noexcept {
        return {begin_, static_cast<std::size_t>(next_ - begin_)};
    }
    void Add(char c) noexcept { *next_++ = c; }
    void AddTwo(unsigned number) noexcept {
        Add(static_cast<char>('0' + number / 10));
        Add(static_cast<char>('0' + number % 10));
    }
    /// With zeros before up to two digits, at least.
    void AddWhole(std::uint64_t number) noexcept {
        if (number < 100) {
            AddTwo(static_cast<unsigned>(number));
            return;
        }
        std::array<char, 20> digits{};
        auto first = digits.end();
        for (; number != 0; number /= 10) {
            *--first = static_cast<char>('0' + number % 10);
        }
        next_ = std::copy(first, digits.end(), next_);
    }
    /// Six digits behind a point, but no zeros at the end.
    void AddFraction(unsigned micros) noexcept {
        if (micros == 0) {
            return;
        }
        Add('.');
        AddTwo(micros / 10000);
        AddTwo(micros / 100 % 100);
        AddTwo(micros % 100);
        while (next_[-1] == '0') {
            --next_;
        }
    }

    /// Without the sign of what is below 0.
    void AddClock(std::int64_t micros) noexcept {
        const std::uint64_t count = micros < 0
                                        ? std::uint64_t{0} - static_cast<std::uint64_t>(micros)
                                        : static_cast<std::uint64_t>(micros);
        const std::uint64_t seconds = count / QXDateTime::kMicrosPerSecond;
        const auto ofHour = static_cast<unsigned>(seconds % 3600);
        AddWhole(seconds / 3600);
        Add(':');
        AddTwo(ofHour / 60);
        Add(':');
        AddTwo(ofHour % 60);
        AddFraction(static_cast<unsigned>(count % QXDateTime::kMicrosPerSecond));
    }
    void AddDate(std::int32_t days) noexcept {
        std::int32_t year = 0;
        unsigned month = 0;
        unsigned day = 0;
        QXDateTime::CivilFromDays(days, year, month, day);
        if (year < 0) {
            Add('-');
        }
        const auto count = static_cast<unsigned>(year < 0 ? -year : year);
        AddWhole(count / 100);
        AddTwo(count % 100);
        Add('-');
        AddTwo(month);
        Add('-');
        AddTwo(day);
    }

  private:
    char* begin_;
    char* next_;
};

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

std::string_view QXDateTime::WriteDate(std::int32_t days, TextRoom& room) noexcept {
    Writer writer(room);
    writer.AddDate(days);
    return writer.Text();
}

std::string_view QXDateTime::WriteTime(std::int64_t micros, TextRoom& room) noexcept {
    Writer writer(room);
    if (micros < 0) {
        writer.Add('-');
    }
    writer.AddClock(micros);
    return writer.Text();
}

std::string_view QXDateTime::WriteTimestamp(std::int64_t micros, TextRoom& room) noexcept {
    std::int64_t days = micros / kMicrosPerDay;
    std::int64_t rest = micros % kMicrosPerDay;
    if (rest < 0) {
        --days;
        rest += kMicrosPerDay;
    }
    Writer writer(room);
    writer.AddDate(static_cast<std::int32_t>(days));
    writer.Add(' ');
    writer.AddClock(rest);
    return writer.Text();
}

std::string QXDateTime::FormatDate(std::int32_t days) {
    TextRoom room;
    return std::string(WriteDate(days, room));
}

std::string QXDateTime::FormatTime(std::int64_t micros) {
    TextRoom room;
    return std::string(WriteTime(micros, room));
}

std::string QXDateTime::FormatTimestamp(std::int64_t micros) {
    TextRoom room;
    return std::string(WriteTimestamp(micros, room));
}

}  // namespace CQXDB
