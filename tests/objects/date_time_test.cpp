// Calendar arithmetic and ISO texts.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <qxdb/QXDateTime.h>

namespace qxdb_test {
namespace {

using CQXDB::QXDateTime;

TEST(DateTime, DaysOfKnownDates) {
    EXPECT_EQ(QXDateTime::DaysFromCivil(1970, 1, 1), 0);
    EXPECT_EQ(QXDateTime::DaysFromCivil(2000, 2, 29), 11016);
    EXPECT_EQ(QXDateTime::DaysFromCivil(1900, 3, 1), -25508);
    EXPECT_EQ(QXDateTime::DaysFromCivil(1, 1, 1), -719162);
    EXPECT_EQ(QXDateTime::Timestamp(1969, 12, 31, 23, 59, 59, 999999), -1);
}

TEST(DateTime, EveryDayHasItsOwnTextForEightCenturies) {
    for (std::int32_t day = -200000; day < 100000; ++day) {
        const std::string text = QXDateTime::FormatDate(day);
        std::int32_t read = 0;
        ASSERT_TRUE(QXDateTime::ParseDate(text, read)) << text;
        ASSERT_EQ(read, day) << text;
    }
}

TEST(DateTime, TextsOfTimes) {
    EXPECT_EQ(QXDateTime::FormatTime(0), "00:00:00");
    EXPECT_EQ(QXDateTime::FormatTime(-3723500000), "-01:02:03.5");
    EXPECT_EQ(QXDateTime::FormatTime(838LL * 3600 * 1000000 + 1), "838:00:00.000001");
    EXPECT_EQ(QXDateTime::FormatTime(INT64_MIN), "-2562047788:00:54.775808");
    EXPECT_EQ(QXDateTime::FormatTimestamp(-1), "1969-12-31 23:59:59.999999");
    EXPECT_EQ(QXDateTime::FormatTimestamp(INT64_MIN), "-290308-12-21 19:59:05.224192");
    EXPECT_EQ(QXDateTime::FormatDate(-719529), "-0001-12-31");
}

TEST(DateTime, TimestampTextsInUse) {
    const std::int64_t noon = QXDateTime::Timestamp(2026, 11, 22, 12, 0, 0);
    const std::vector<std::string> texts = {"2026-11-22 12:00:00",
                                            "2026-11-22T12:00",
                                            "2026-11-22 12:00:00.000000",
                                            "2026-11-22T12:00:00Z",
                                            "2026-11-22 14:00:00+02",
                                            "2026-11-22 06:30:00-0530",
                                            "2026-11-22T14:00:00.0000009+02:00"};
    for (const std::string& text : texts) {
        std::int64_t micros = 0;
        EXPECT_TRUE(QXDateTime::ParseTimestamp(text, micros)) << text;
        EXPECT_EQ(micros, noon) << text;
    }
    std::int64_t midnight = 0;
    EXPECT_TRUE(QXDateTime::ParseTimestamp("2026-11-22", midnight));
    EXPECT_EQ(midnight, noon - QXDateTime::kMicrosPerDay / 2);
}

TEST(DateTime, TimesReadBack) {
    for (const std::int64_t micros :
         {0LL, -1LL, 86399999999LL, -3020399000000LL, 9000000000000000LL}) {
        std::int64_t read = 7;
        EXPECT_TRUE(QXDateTime::ParseTime(QXDateTime::FormatTime(micros), read));
        EXPECT_EQ(read, micros);
        EXPECT_TRUE(QXDateTime::ParseTimestamp(QXDateTime::FormatTimestamp(micros), read));
        EXPECT_EQ(read, micros);
    }
}

TEST(DateTime, WrongTextsChangeNothing) {
    std::int32_t days = 77;
    for (const char* text :
         {"", "2023-02-29", "2023-13-01", "2023-00-10", "2023-1-1", "2023-01-01x", "23-01-01",
          "99999999-01-01", "2023-04-31", "1900-02-29", "2023-01"}) {
        EXPECT_FALSE(QXDateTime::ParseDate(text, days)) << text;
    }
    std::int64_t micros = 77;
    for (const char* text :
         {"", "1", "12:60", "12:00:60", "12:0", "12:00:00.", "-", "12:00:00 ", "9999999999:00"}) {
        EXPECT_FALSE(QXDateTime::ParseTime(text, micros)) << text;
    }
    for (const char* text :
         {"2023-01-01 ", "2023-01-01 24:00:00", "2023-01-01 00:00:00+24", "2023-01-01 00:00:00+1",
          "2023-01-01 00:00:00+01:", "2023-01-01x00:00", "5000000-01-01 00:00:00"}) {
        EXPECT_FALSE(QXDateTime::ParseTimestamp(text, micros)) << text;
    }
    EXPECT_EQ(days, 77);
    EXPECT_EQ(micros, 77);
}

}  // namespace
}  // namespace qxdb_test
