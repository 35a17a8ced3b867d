// How a column takes its type, and keeps cells of all types.
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include <qxdb/QXColumn.h>

#include "tests/objects/samples.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

TEST(Column, TakesTheTypeOfItsFirstValue) {
    QXColumn column("n", QXValueType::Int64);
    column.AppendNull();
    EXPECT_EQ(column.Type(), QXValueType::Int64);
    column.AppendBytes("x", QXValueType::Text);
    EXPECT_EQ(column.Type(), QXValueType::Text);
    EXPECT_TRUE(column.IsNull(0));
    EXPECT_EQ(column.BytesAt(1), "x");
}

/// Every way from one type to another, with nulls before, between and behind, in more rows than two
/// bytes of a null bitmap have; once in one column
/// and once as rows put behind others, with the seam at every place.
TEST(Column, AnySequenceOfValuesIsKeptExactly) {
    const std::vector<QXValue> values = EdgeValues();
    for (const QXValue& first : values) {
        for (const QXValue& second : values) {
            std::vector<QXValue> cells(20, first);
            cells[0] = cells[3] = QXValue::Null();
            cells.insert(cells.end(), {QXValue::Null(), second, QXValue::Null(), first, second});
            const bool mixed = !first.IsNull() && !second.IsNull() && first.Type() != second.Type();
            for (std::size_t seam = 0; seam <= cells.size(); ++seam) {
                QXColumn column("whole", QXValueType::Null);
                QXColumn rest("rest", QXValueType::Null);
                for (std::size_t row = 0; row < cells.size(); ++row) {
                    (row < seam ? column : rest).Append(cells[row]);
                }
                column.AppendRows(std::move(rest));
                column.AppendNull();
                column.Append(first);
                EXPECT_EQ(column.NameUtf8(), "whole");
                EXPECT_EQ(column.Type() == QXValueType::Mixed, mixed);
                ASSERT_EQ(column.RowCount(), cells.size() + 2);
                for (std::size_t row = 0; row < cells.size(); ++row) {
                    ASSERT_EQ(column.Get(row), cells[row]) << seam << ' ' << row;
                    ASSERT_EQ(column.TypeAt(row), cells[row].Type());
                    ASSERT_EQ(column.IsNull(row), cells[row].IsNull());
                }
                ASSERT_TRUE(column.IsNull(cells.size()));
                ASSERT_EQ(column.Get(cells.size() + 1), first);
            }
        }
    }
}

TEST(Column, CellsHoldNoMoreThanTheirTypeSays) {
    QXColumn column;
    column.AppendInt64(5, QXValueType::Bool);
    column.AppendInt64(0x100000001, QXValueType::Date);
    column.AppendInt64(7, QXValueType::Bool);
    EXPECT_EQ(column.Get(0), QXValue::Bool(true));
    EXPECT_EQ(column.Get(1), QXValue::Date(1));
    EXPECT_EQ(column.Get(2), QXValue::Bool(true));
}

TEST(Column, RefusedValueLeavesTheColumnAsItWas) {
    QXColumn column("n", QXValueType::Null);
    EXPECT_THROW(column.AppendInt64(1, QXValueType::Text), std::invalid_argument);
    EXPECT_THROW(column.AppendBytes("1", QXValueType::Int64), std::invalid_argument);
    EXPECT_THROW(column.AppendInt64(1, QXValueType::Mixed), std::invalid_argument);
    EXPECT_EQ(column.Type(), QXValueType::Null);
    column.AppendDouble(1.5);
    EXPECT_THROW(column.AppendInt64(1, QXValueType::Null), std::invalid_argument);
    EXPECT_EQ(column.RowCount(), 1U);
    EXPECT_EQ(column.Get(0), QXValue::Double(1.5));
}

TEST(Column, TextBeyondFourGibibytesIsRefused) {
    QXColumn column("big", QXValueType::Null);
    const char* volatile nothing = "";  // hidden from the compiler, which would warn
    // Never read: the length alone is refused.
    const std::string_view huge(nothing, QXColumn::kMaxBytes + std::size_t{1});
    EXPECT_THROW(column.AppendBytes(huge, QXValueType::Text), std::length_error);
    column.AppendNull();
    column.AppendBytes("fits", QXValueType::Text);
    ASSERT_EQ(column.RowCount(), 2U);
    EXPECT_TRUE(column.IsNull(0));
    EXPECT_EQ(column.BytesAt(1), "fits");
}

}  // namespace
}  // namespace qxdb_test
