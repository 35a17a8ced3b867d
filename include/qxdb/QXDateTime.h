// Calendar arithmetic and text forms of the date, time and timestamp values.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <qxdb/Export.h>

namespace CQXDB {

/// All members are static and thread-safe. Texts are ISO 8601 with a blank between date and time;
/// fractions of a second are written with as few of the six digits as the value needs.
class QXDB_OBJECTS_API QXDateTime {
  public:
    static constexpr std::int64_t kMicrosPerSecond = 1000000;
    static constexpr std::int64_t kMicrosPerDay = 86400 * kMicrosPerSecond;

    /// Days since 1970-01-01 of a proleptic Gregorian date; month 1 to 12, day 1 to 31.
    static std::int32_t DaysFromCivil(std::int32_t year, unsigned month, unsigned day) noexcept;
    static void CivilFromDays(std::int32_t days, std::int32_t& year, unsigned& month,
                              unsigned& day) noexcept;
    /// Microseconds since 1970-01-01 00:00:00.
    static std::int64_t Timestamp(std::int32_t year, unsigned month, unsigned day, unsigned hour,
                                  unsigned minute, unsigned second, unsigned micros = 0) noexcept;

    static std::string FormatDate(std::int32_t days);         ///< "2026-11-22"
    static std::string FormatTime(std::int64_t micros);       ///< "-01:02:03.5"
    static std::string FormatTimestamp(std::int64_t micros);  ///< "2026-11-22 08:00:00.000001"

    /// Room for each of those texts.
    using TextRoom = std::array<char, 40>;
    /// The same texts without memory of their own: each is written into `room` and lies there.
    static std::string_view WriteDate(std::int32_t days, TextRoom& room) noexcept;
    static std::string_view WriteTime(std::int64_t micros, TextRoom& room) noexcept;
    static std::string_view WriteTimestamp(std::int64_t micros, TextRoom& room) noexcept;

    /// Each parses the whole text or returns false and leaves the result alone. Seconds may be
    /// missing, and digits behind the sixth of a fraction are cut off. A timestamp may have "T" for
    /// the blank, may be a date alone, and may end in "Z" or an offset such as "+02:00", which is
    /// applied so that the result is UTC.
    static bool ParseDate(std::string_view text, std::int32_t& days) noexcept;
    static bool ParseTime(std::string_view text, std::int64_t& micros) noexcept;
    static bool ParseTimestamp(std::string_view text, std::int64_t& micros) noexcept;
};

}  // namespace CQXDB
