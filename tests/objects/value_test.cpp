// Conversions of values.
#include <clocale>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <qxdb/QXValue.h>

#include "tests/objects/samples.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();

std::int64_t Int(const char* text) {
    return QXValue::TextUtf8(text).AsInt64();
}

double Double(const char* text) {
    return QXValue::TextUtf8(text).AsDouble();
}

TEST(Value, TextIsReadAsANumberFromItsStart) {
    EXPECT_EQ(Int(" \t-42 apples"), -42);
    EXPECT_EQ(Int("+7"), 7);
    EXPECT_EQ(Int("12.9"), 12);
    EXPECT_EQ(Int("x1"), 0);
    EXPECT_EQ(Int("--1"), 0);
    EXPECT_EQ(Int(""), 0);
    EXPECT_EQ(Double("1.5e3kg"), 1500);
    EXPECT_EQ(Double("-.25"), -0.25);
    EXPECT_EQ(Double("+-1"), 0);
    EXPECT_EQ(QXValue::Decimal("-12.50").AsDouble(), -12.5);
    EXPECT_TRUE(std::isnan(Double("nan")));
}

TEST(Value, NumbersSaturate) {
    EXPECT_EQ(Int("9223372036854775807"), kMax);
    EXPECT_EQ(Int("9223372036854775808"), kMax);
    EXPECT_EQ(Int("-9223372036854775808"), kMin);
    EXPECT_EQ(Int("-99999999999999999999999"), kMin);
    EXPECT_EQ(QXValue::Double(1e19).AsInt64(), kMax);
    EXPECT_EQ(QXValue::Double(-1e19).AsInt64(), kMin);
    EXPECT_EQ(QXValue::Double(9223372036854775808.0).AsInt64(), kMax);
    EXPECT_EQ(QXValue::Double(std::nan("")).AsInt64(), 0);
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(Double("1e999"), infinity);
    EXPECT_EQ(Double("-1e999"), -infinity);
    EXPECT_EQ(Double("1e-999"), 0);
    EXPECT_EQ(Double(("0." + std::string(400, '0') + "1").c_str()), 0);
    EXPECT_EQ(Double((std::string(400, '9') + ".5").c_str()), infinity);
    EXPECT_EQ(Double(("0." + std::string(400, '0') + "1e900").c_str()), infinity);
}

TEST(Value, TruthOfNumbersAndTexts) {
    EXPECT_TRUE(QXValue::TextUtf8("TRUE").AsBool());
    EXPECT_TRUE(QXValue::TextUtf8("t").AsBool());
    EXPECT_TRUE(QXValue::TextUtf8("-0.5").AsBool());
    EXPECT_TRUE(QXValue::Double(0.5).AsBool());
    EXPECT_FALSE(QXValue::TextUtf8("false").AsBool());
    EXPECT_FALSE(QXValue::TextUtf8("0.0").AsBool());
    EXPECT_FALSE(QXValue::Null().AsBool());
    EXPECT_FALSE(QXValue::Blob("1", 1).AsBool());
}

TEST(Value, TextForms) {
    EXPECT_EQ(QXValue::Double(0.1).ToUtf8(), "0.1");
    EXPECT_EQ(QXValue::Double(-0.0).ToUtf8(), "-0");
    EXPECT_EQ(QXValue::Double(1e300).ToUtf8(), "1e+300");
    EXPECT_EQ(QXValue::Int64(kMin).ToUtf8(), "-9223372036854775808");
    EXPECT_EQ(QXValue::Bool(true).ToUtf8(), "true");
    EXPECT_EQ(QXValue::Blob("\x0F\x00\xA5", 3).ToUtf8(), "\\x0f00a5");
    EXPECT_EQ(QXValue::Date(19782).ToUtf8(), "2024-02-29");
    EXPECT_EQ(QXValue::Text(L"\U0001F600").ToText(), L"\U0001F600");
    EXPECT_EQ(QXValue::Null().ToUtf8(), "");
}

TEST(Value, ShortestTextOfADoubleReadsBackInAnyLocale) {
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8");  // a decimal comma, where it is installed
    for (const QXValue& value : EdgeValues()) {
        const double number = value.RawDouble();
        if (value.Type() == QXValueType::Double && !std::isnan(number)) {
            EXPECT_EQ(QXValue::TextUtf8(value.ToUtf8()).AsDouble(), number);
        }
    }
    std::setlocale(LC_NUMERIC, before.c_str());
}

TEST(Value, RawAccessGivesNothingOfAnotherType) {
    EXPECT_EQ(QXValue::Double(1.0).RawInt64(), 0);
    EXPECT_EQ(QXValue::Int64(5).RawDouble(), 0);
    EXPECT_TRUE(QXValue::Int64(5).Bytes().empty());
    EXPECT_EQ(QXValue::Timestamp(-5).RawInt64(), -5);
}

TEST(Value, EqualityIsOfTypeAndBits) {
    EXPECT_EQ(QXValue::Double(std::nan("")), QXValue::Double(std::nan("")));
    EXPECT_NE(QXValue::Double(0.0), QXValue::Double(-0.0));
    EXPECT_NE(QXValue::Int64(1), QXValue::Bool(true));
    EXPECT_NE(QXValue::TextUtf8("1"), QXValue::Decimal("1"));
}

}  // namespace
}  // namespace qxdb_test
