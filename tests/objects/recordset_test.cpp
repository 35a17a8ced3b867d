// Filling, navigating and reading a recordset, and what it takes in memory.
#include <stdexcept>

#include <gtest/gtest.h>

#include <qxdb/QXRecordset.h>

#include "tests/objects/cdr_support.h"
#include "tests/objects/samples.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

QXRecordset People() {
    QXRecordset rs;
    QXColumn& id = rs.AddColumn("id");
    QXColumn& name = rs.AddColumn("Name");
    QXColumn& nothing = rs.AddColumn("NAME");
    for (int row = 0; row < 3; ++row) {
        id.AppendInt64(row);
        name.AppendBytes("p\xC3\xA9" + std::to_string(row), QXValueType::Text);
        nothing.AppendNull();
    }
    rs.FillDone();
    return rs;
}

TEST(Recordset, WalksItsRows) {
    QXRecordset rs = People();
    std::int64_t sum = 0;
    for (rs.MoveFirst(); !rs.Eof(); rs.MoveNext()) {
        sum = sum * 10 + rs.GetInt64(L"ID");
    }
    EXPECT_EQ(sum, 12);
    rs.MoveNext();
    EXPECT_EQ(rs.Position(), 3U);
    EXPECT_THROW(rs.GetInt64(0), std::out_of_range);
    rs.MoveTo(1);
    EXPECT_EQ(rs.GetText(1),
              L"p\u00E9"
              L"1");
    rs.MoveTo(99);
    EXPECT_TRUE(rs.Eof());
    std::string names;
    for (const auto row : rs) {
        names += row.GetTextUtf8(1);
    }
    EXPECT_EQ(names,
              "p\xC3\xA9"
              "0p\xC3\xA9"
              "1p\xC3\xA9"
              "2");
}

TEST(Recordset, NamesAreFoundWithoutRegardToCaseFirstColumnFirst) {
    const QXRecordset rs = People();
    EXPECT_EQ(rs.FindColumn(L"nAmE"), 1U);
    EXPECT_EQ(rs.FindColumn(L"nam"), QXRecordset::npos);
    EXPECT_THROW(rs.GetText(L"missing"), std::out_of_range);
    EXPECT_THROW(rs.GetValue(0, 3), std::out_of_range);
    EXPECT_THROW(rs.GetBytes(3, 0), std::out_of_range);
    EXPECT_THROW(rs.IsNull(3, 0), std::out_of_range);
    EXPECT_THROW(QXRecordset().GetValue(0, 0), std::out_of_range);
}

TEST(Recordset, GettersConvertAsValuesDo) {
    const QXRecordset rs = EveryType();
    for (std::size_t column = 0; column < rs.ColumnCount(); ++column) {
        for (std::size_t row = 0; row < rs.RowCount(); ++row) {
            const QXValue value = rs.GetValue(row, column);
            EXPECT_EQ(rs.GetBool(row, column), value.AsBool());
            EXPECT_EQ(rs.GetInt64(row, column), value.AsInt64());
            EXPECT_EQ(QXValue::Double(rs.GetDouble(row, column)),
                      QXValue::Double(value.AsDouble()));
            EXPECT_EQ(rs.GetTextUtf8(row, column), value.ToUtf8());
            EXPECT_EQ(rs.GetText(row, column), value.ToText());
            EXPECT_EQ(rs.GetBytes(row, column), value.Bytes());
            EXPECT_EQ(rs.TypeAt(row, column), value.Type());
        }
    }
}

TEST(Recordset, ColumnsOfDifferentLengthAreReportedAndNeverSent) {
    QXRecordset rs = People();
    rs.MutableColumn(1).AppendNull();
    EXPECT_THROW(rs.FillDone(), std::logic_error);
    ACE_OutputCDR out;
    EXPECT_EQ(rs.toCDR(out), 0);
}

/// Raw bytes: 8 a number, 4 a date, 1 a truth value, and the bytes of texts.
TEST(Recordset, AMillionRowsTakeLessThanTwiceTheirRawBytes) {
    constexpr std::size_t kRows = 1000000;
    std::size_t raw = kRows * (4 * 8 + 2 * 8 + 4 + 1);
    QXRecordset rs;
    for (const QXValueType type :
         {QXValueType::Int64, QXValueType::Int64, QXValueType::Double, QXValueType::Double,
          QXValueType::Timestamp, QXValueType::Date, QXValueType::Bool, QXValueType::Text,
          QXValueType::Text, QXValueType::Time}) {
        QXColumn& column = rs.AddColumn("c", type);
        for (std::size_t row = 0; row < kRows; ++row) {
            const auto number = static_cast<std::int64_t>(row * 7919 % 1000003);
            if (type == QXValueType::Double) {
                column.AppendDouble(static_cast<double>(number));
            } else if (type == QXValueType::Text) {
                const std::string text = "text " + std::to_string(number);
                raw += text.size();
                column.AppendBytes(text, type);
            } else {
                column.AppendInt64(number, type);
            }
        }
    }
    EXPECT_LT(rs.MemoryBytes(), 2 * raw) << "while it is being filled";
    rs.FillDone();
    EXPECT_LT(rs.MemoryBytes(), raw * 5 / 4);
    const std::string encoded = Encode(rs);
    rs.Clear();
    ASSERT_TRUE(Decode(encoded, rs));
    EXPECT_EQ(rs.RowCount(), kRows);
    EXPECT_LT(rs.MemoryBytes(), raw * 5 / 4);
}

}  // namespace
}  // namespace qxdb_test
