// Values come back as they went in, with their types.
#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <qxdb/QXDateTime.h>

#include "tests/adapter/contract.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;
using Values = std::vector<QXValue>;

class TypeContract : public Contract {
  protected:
    /// Stores values in a column of the type, and reads them back in order.
    void RoundTrip(const std::string& type, const Values& values) {
        SCOPED_TRACE(type);
        db.Execute("DROP TABLE IF EXISTS t");
        ASSERT_TRUE(
            db.Execute("CREATE TABLE t (id INTEGER NOT NULL PRIMARY KEY, v " + type + ")").ok());
        std::vector<QXCommand> inserts;
        const QXCommand insert = db.Command("INSERT INTO t (id, v) VALUES (?, ?)");
        for (std::size_t i = 0; i < values.size(); ++i) {
            inserts.push_back(insert);
            inserts.back().AddParam(QXValue::Int64(static_cast<std::int64_t>(i)));
            inserts.back().AddParam(values[i]);
        }
        const Outcome stored = db.Execute(std::move(inserts));
        ASSERT_TRUE(stored.ok()) << stored;
        QXRecordset rs;
        const Outcome read = db.Query(rs, "SELECT v FROM t ORDER BY id");
        ASSERT_TRUE(read.ok()) << read;
        ASSERT_EQ(rs.RowCount(), values.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            EXPECT_EQ(rs.TypeAt(i, 0), values[i].Type()) << "row " << i;
            EXPECT_TRUE(rs.GetValue(i, 0) == values[i])
                << "row " << i << ": " << rs.GetTextUtf8(i, 0).substr(0, 100) << " for "
                << values[i].ToUtf8().substr(0, 100);
        }
    }
};

TEST_P(TypeContract, NumbersToTheLastBitAndBooleans) {
    RoundTrip("BIGINT",
              {QXValue::Int64(0), QXValue::Int64(std::numeric_limits<std::int64_t>::min()),
               QXValue::Int64(std::numeric_limits<std::int64_t>::max()), QXValue::Null()});
    RoundTrip("INTEGER", {QXValue::Int64(-2147483647 - 1), QXValue::Int64(2147483647)});
    RoundTrip("SMALLINT", {QXValue::Int64(-32768), QXValue::Int64(32767)});
    RoundTrip(backend.doubleType, {QXValue::Double(0.1), QXValue::Double(-1.7976931348623157e308),
                                   QXValue::Double(2.2250738585072014e-308),
                                   QXValue::Double(1.0 / 3.0), QXValue::Null()});
    RoundTrip(backend.booleanType, {QXValue::Bool(true), QXValue::Bool(false), QXValue::Null()});
}

TEST_P(TypeContract, DecimalsKeepTheirDigitsAndTheirScale) {
    RoundTrip("DECIMAL(12, 2)", {QXValue::Decimal("0.10"), QXValue::Decimal("-1234567890.12"),
                                 QXValue::Decimal("5.00"), QXValue::Null()});
    if (backend.exactDecimals) {
        RoundTrip("DECIMAL(38, 10)", {QXValue::Decimal("1234567890123456789012345678.0123456789"),
                                      QXValue::Decimal("-0.0000000001")});
    }
}

TEST_P(TypeContract, DatesTimesAndTimestampsToTheMicrosecond) {
    RoundTrip("DATE", {QXValue::Date(0), QXValue::Date(QXDateTime::DaysFromCivil(2024, 2, 29)),
                       QXValue::Date(QXDateTime::DaysFromCivil(9999, 12, 31)),
                       QXValue::Date(QXDateTime::DaysFromCivil(1753, 1, 1)), QXValue::Null()});
    RoundTrip(backend.timestampType,
              {QXValue::Timestamp(QXDateTime::Timestamp(2026, 11, 22, 8, 0, 0, 1)),
               QXValue::Timestamp(QXDateTime::Timestamp(1969, 12, 31, 23, 59, 59, 999999)),
               QXValue::Timestamp(QXDateTime::Timestamp(2038, 1, 19, 3, 14, 8)), QXValue::Null()});
    RoundTrip(backend.timeType,
              {QXValue::Time(0), QXValue::Time(QXDateTime::kMicrosPerDay - 1),
               QXValue::Time(3723 * QXDateTime::kMicrosPerSecond), QXValue::Null()});
}

TEST_P(TypeContract, TextInAnyLanguage) {
    RoundTrip(backend.longTextType,
              {QXValue::TextUtf8(""), QXValue::TextUtf8("it's \"quoted\" \\ back ? ?? $1 %s"),
               QXValue::TextUtf8("加密错误 Ελληνικά עברית 🎉🎊"), QXValue::TextUtf8("line\r\n\ttab "),
               QXValue::Null()});
    RoundTrip("VARCHAR(40)", {QXValue::TextUtf8("żółw"), QXValue::TextUtf8("日本語")});
}

TEST_P(TypeContract, BlobsWithEveryByte) {
    std::string all;
    for (int i = 0; i < 256; ++i) {
        all.push_back(static_cast<char>(i));
    }
    RoundTrip(backend.blobType, {QXValue::Blob(all.data(), all.size()), QXValue::Blob("", 0),
                                 QXValue::Blob("\\x00", 4), QXValue::Null()});
}

TEST_P(TypeContract, ValuesOfSeveralMegabytes) {
    std::string text;
    while (text.size() < 3000000) {
        text += "žluťoučký 🐎 " + std::to_string(text.size()) + " ";
    }
    const QXValue brief = QXValue::TextUtf8("short");
    // The lengths around those of the buffers that drivers are given first.
    RoundTrip(backend.longTextType,
              {brief, QXValue::TextUtf8(text), QXValue::Null(), brief,
               QXValue::TextUtf8(std::string(1023, 'x')), QXValue::TextUtf8(std::string(1024, 'y')),
               QXValue::TextUtf8(text.substr(0, 200)), brief});
    std::string bytes(5000000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * 31 >> 3);
    }
    RoundTrip(backend.blobType, {QXValue::Blob("b", 1), QXValue::Blob(bytes.data(), bytes.size()),
                                 QXValue::Blob("", 0), QXValue::Blob(bytes.data(), 300)});
}

TEST_P(TypeContract, AnEmptyResultKeepsItsColumnsAndTheirTypes) {
    Table("i BIGINT, d " + backend.doubleType + ", n DECIMAL(9, 2), s VARCHAR(9), b " +
          backend.blobType + ", day DATE, at " + backend.timestampType + ", flag " +
          backend.booleanType);
    QXRecordset rs;
    const Outcome outcome = db.Query(rs, "SELECT * FROM t");
    ASSERT_TRUE(outcome.ok()) << outcome;
    EXPECT_EQ(rs.RowCount(), 0U);
    const std::vector<std::pair<std::wstring, QXValueType>> expected{
        {L"i", QXValueType::Int64},      {L"d", QXValueType::Double}, {L"n", QXValueType::Decimal},
        {L"s", QXValueType::Text},       {L"b", QXValueType::Blob},   {L"day", QXValueType::Date},
        {L"at", QXValueType::Timestamp}, {L"flag", QXValueType::Bool}};
    ASSERT_EQ(rs.ColumnCount(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(rs.ColumnName(i), expected[i].first);
        EXPECT_EQ(rs.ColumnType(i), expected[i].second) << "column " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(On, TypeContract, testing::ValuesIn(ExactBackends()), BackendName);

}  // namespace
}  // namespace qxdb_test
