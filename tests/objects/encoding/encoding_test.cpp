// The bytes of encodings: the documented example, both byte orders, sizes.
#include <algorithm>
#include <fstream>

#include <gtest/gtest.h>

#include "tests/objects/cdr_support.h"
#include "tests/objects/samples.h"
#include "tests/support/Hex.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

/// The bytes of the dump under `heading` of the page on the wire format: lines of an offset and
/// bytes.
std::string DocumentedBytes(const std::string& heading) {
    std::ifstream page(QXDB_WIRE_FORMAT_PAGE);
    std::string line;
    while (std::getline(page, line) && line != heading) {
    }
    while (std::getline(page, line) && line.rfind("```", 0) != 0) {
    }
    std::string bytes;
    while (std::getline(page, line) && line.rfind("```", 0) != 0) {
        const std::size_t bytesBegin = line.find_first_of(' ');
        bytes += FromHex(std::string_view(line).substr(bytesBegin, line.find('|') - bytesBegin));
    }
    return bytes;
}

QXRecordset Documented() {
    QXRecordset rs;
    QXColumn& id = rs.AddColumn("id");
    id.AppendInt64(7);
    id.AppendInt64(9);
    id.AppendInt64(1000);
    QXColumn& name = rs.AddColumn("name");
    name.AppendBytes("Ada", QXValueType::Text);
    name.AppendNull();
    name.AppendBytes("Zo\xC3\xAB", QXValueType::Text);
    rs.FillDone();
    return rs;
}

TEST(Encoding, IsTheDocumentedOne) {
    QXRecordset rs = Documented();
    const std::string bytes = DocumentedBytes("### A recordset, byte by byte");
    EXPECT_EQ(Encode(rs), bytes);
    QXRecordset copy;
    ASSERT_TRUE(Decode(bytes, copy));
    EXPECT_TRUE(Same(rs, copy));
}

/// Columns are little-endian on every stream; the numbers around them follow the stream.
TEST(Encoding, BigEndianPeerIsUnderstood) {
    QXRecordset rs = Documented();
    std::string bytes = Encode(rs);
    for (std::size_t number = 0; number < 8; ++number) {
        std::reverse(bytes.begin() + static_cast<std::ptrdiff_t>(4 * number),
                     bytes.begin() + static_cast<std::ptrdiff_t>(4 * number + 4));
    }
    Input input(bytes, 0);
    QXRecordset copy;
    ASSERT_EQ(copy.fromCDR(input.Stream()), 1);
    EXPECT_TRUE(Same(rs, copy));
}

TEST(Encoding, SizeIsCloseWhereNothingIsCompressed) {
    QXRecordset rs = Documented();
    EXPECT_LE(rs.size(), Encode(rs).size() + 8);
    QXCommand command(L"SELECT 1");
    EXPECT_LE(command.size(), Encode(command).size() + 24);
}

TEST(Encoding, UsualColumnsShrinkToAFraction) {
    QXRecordset rs = Orders(20000);
    EXPECT_LT(Encode(rs).size(), rs.MemoryBytes() / 4);
}

/// A recordset of one value repeated is so small that it needs padding to be accepted.
TEST(Encoding, RepeatedValuesStayWithinTheBudgetOfTheirBlock) {
    for (const std::size_t rows : {100U, 100000U, 600000U}) {
        QXRecordset rs;
        QXColumn& same = rs.AddColumn("same");
        QXColumn& none = rs.AddColumn("none");
        for (std::size_t row = 0; row < rows; ++row) {
            same.AppendBytes("a text of some length", QXValueType::Text);
            none.AppendNull();
        }
        rs.FillDone();
        const std::string bytes = Encode(rs);
        EXPECT_LT(bytes.size(), 200 + rows / 3);
        QXRecordset copy;
        ASSERT_TRUE(Decode(bytes, copy));
        EXPECT_EQ(copy.RowCount(), rows);
        EXPECT_EQ(copy.GetBytes(rows - 1, 0), "a text of some length");
    }
}

TEST(Encoding, BytesDoNotDependOnWhatTheBufferHeld) {
    QXCommandList list = MixedList(5);
    list.SetToken(L"odd");
    const std::size_t bound = list.size();
    std::string encodings[2];
    for (int fill : {0, 1}) {
        std::vector<std::uint64_t> buffer(bound / 8 + 2, fill == 0 ? 0 : ~std::uint64_t{0});
        ACE_OutputCDR out(reinterpret_cast<char*>(buffer.data()), bound);
        ASSERT_EQ(list.toCDR(out), 1);
        encodings[fill] = BytesOf(out);
    }
    EXPECT_EQ(encodings[0], encodings[1]);
}

}  // namespace
}  // namespace qxdb_test
