// Encodings cut short, damaged or made up: refused, or read as some valid object.
#include <cstdint>
#include <cstring>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "tests/objects/cdr_support.h"
#include "tests/objects/samples.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;
using namespace std::string_literals;

/// Reads everything that a decoded object says it holds. Returns the bytes it takes.
std::size_t Use(const QXRecordset& rs) {
    std::size_t used = rs.MemoryBytes() + 256 * rs.ColumnCount();
    // Rows without a column of values are many for few bytes; their ends show what their middle
    // does.
    const std::size_t step = rs.RowCount() / 500 + 1;
    for (std::size_t column = 0; column < rs.ColumnCount(); ++column) {
        EXPECT_EQ(rs.Column(column).RowCount(), rs.RowCount());
        for (std::size_t row = 0; row < rs.RowCount(); row += step) {
            used += rs.GetText(row, column).size() > 1000000000 ? 1 : 0;
            EXPECT_EQ(rs.GetValue(row, column).IsNull(), rs.IsNull(row, column));
        }
    }
    return used;
}
std::size_t Use(const QXCommand& command) {
    std::size_t used = sizeof command + command.Text().size() + command.Token().size();
    for (const QXValue& param : command.Params()) {
        used += sizeof param + param.Bytes().size();
    }
    return used;
}
std::size_t Use(const QXDataSource& source) {
    return source.name.size() + source.extra.size() + source.options.size();
}
template <class List>
std::size_t Use(const List& list) {
    std::size_t used = 0;
    for (const auto& each : list) {
        used += Use(each);
    }
    return used;
}

template <class T>
void ExpectHarmless(const std::string& bytes) {
    T object;
    if (Decode(bytes, object)) {
        // Each block: 128 times its bytes and 4 KiB, for the block and for what comes out of it.
        EXPECT_LE(Use(object), 300 * bytes.size() + 65536);
        const std::string again = Encode(object);
        T copy;
        EXPECT_TRUE(Decode(again, copy));
    }
}

/// Every prefix is refused, and random damage does no harm.
template <class T>
void Torment(T object, std::uint32_t seed) {
    const std::string whole = Encode(object);
    const std::size_t step = whole.size() / 500 + 1;
    for (std::size_t length = 0; length < whole.size(); length += step) {
        T cut;
        EXPECT_FALSE(Decode(std::string_view(whole).substr(0, length), cut)) << length;
    }
    for (std::size_t bit = 0; bit < 8 * whole.size(); bit += 8 * step + 3) {
        std::string bytes = whole;
        bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ 1 << (bit % 8));
        ExpectHarmless<T>(bytes);
    }
    std::mt19937 random(seed);
    for (int round = 0; round < 700; ++round) {
        std::string bytes = whole;
        for (std::uint32_t i = random() % 4 + 1; i != 0; --i) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        ExpectHarmless<T>(bytes);
    }
}

TEST(HostileInput, DamagedObjects) {
    Torment(EveryType(), 1);
    Torment(FilledRsList(70), 2);
    Torment(FilledCommand(), 3);
    Torment(MixedList(30), 4);
    Torment(FilledDataSource(), 5);
}

std::string Number(std::uint32_t value) {
    std::string bytes(4, '\0');
    std::memcpy(bytes.data(), &value, 4);
    return bytes;
}

/// A part of a recordset: one column in one block that is stored as it is.
std::string Part(std::uint32_t rows, const std::string& plain, std::uint32_t more) {
    const auto size = static_cast<std::uint32_t>(plain.size());
    const std::string alignment((0 - plain.size()) & 3, '\0');
    return Number(rows) + Number(size) + Number(size) + Number(0) + plain + alignment +
           Number(more);
}
std::string Head(std::uint32_t columns = 1) {
    return Number(2) + Number(0) + Number(1) + Number(columns);
}
std::string Recordset(std::uint32_t rows, const std::string& plain, std::uint32_t columns = 1) {
    return Head(columns) + Part(rows, plain, 0);
}

/// Damage inside a block, where compression doesn't stand in the way: every byte takes every value.
TEST(HostileInput, DamagedColumns) {
    const std::string columns[] = {
        "\x12\0\x05\x01\x02\x00\x02\x04"s,     // Int64, null bitmap, offsets
        "\x02\0\x11\x02\x04\x01\x00"s,         // Int64, steps
        "\x03\0\x02\x01\x02\x0A\x0B\x0C"s,     // Double, hundredths
        "\x03\0\xFF\x00\x02"s,                 // Double, bits
        "\x05\0\x00\x01\x00\x01\x00\x02xyz"s,  // Text
        "\x06\0\x01\x02\x00\x02"
        "ab\x01\x00\x00\x01\x00"s,                    // Blob, dictionary
        "\x0A\0\x05\x02\x00\x01\x00\x02\x07\x00xy"s,  // Mixed
        "\x21\0"s,                                    // Bool, all null
        "\x01\0\x01\x00\x00\x01\x01"s,                // Bool
        "\x07\x02"
        "dd\x00\x0A"s,  // Date, constant, named
    };
    for (const std::string& column : columns) {
        QXRecordset rs;
        ASSERT_TRUE(Decode(Recordset(3, column), rs)) << ::testing::PrintToString(column);
        Use(rs);
        for (std::size_t at = 0; at < column.size(); ++at) {
            for (int value = 0; value < 256; ++value) {
                std::string damaged = column;
                damaged[at] = static_cast<char>(value);
                ExpectHarmless<QXRecordset>(Recordset(3, damaged));
            }
            EXPECT_FALSE(Decode(Recordset(3, column.substr(0, at)), rs));
        }
        EXPECT_FALSE(Decode(Recordset(3, column + "x"), rs)) << "bytes left over";
    }
}

TEST(HostileInput, FewBytesCannotClaimManyRowsOrColumns) {
    QXRecordset rs;
    for (const std::string& column : {"\x20\0"s, "\x02\0\x00\x00"s, "\x05\0\x00\x00\x00"s,
                                      "\x05\0\x01\x01\x00\x02x\x00\x00"s, "\x01\0\x10\x00\x00"s}) {
        EXPECT_TRUE(Decode(Recordset(100, column), rs)) << ::testing::PrintToString(column);
        EXPECT_FALSE(Decode(Recordset(0xFFFFFFFF, column), rs));
        EXPECT_FALSE(Decode(Recordset(5000, column), rs));
    }
    EXPECT_FALSE(Decode(Recordset(1, "\x20\0"s, 0xFFFFFFFF), rs));
    EXPECT_FALSE(Decode(Head(0) + Number(5) + Number(0), rs));
}

TEST(HostileInput, PartsThatDoNotFitTogetherAreRefusedOrRead) {
    const std::string nulls = "\x20\0"s;           // of no type yet
    const std::string number = "\x02\0\x00\x02"s;  // Int64, 1 in every row
    const std::string text =
        "\x05\0\x00\x00\x02"
        "ab"s;  // Text, a byte a row
    QXRecordset rs;
    ASSERT_TRUE(Decode(Head() + Part(200, nulls, 1) + Part(3, number, 1) + Part(2, text, 0), rs));
    ASSERT_EQ(rs.RowCount(), 205U);
    EXPECT_TRUE(rs.IsNull(199, 0));
    EXPECT_EQ(rs.GetInt64(202, 0), 1);
    EXPECT_EQ(rs.GetTextUtf8(204, 0), "b");
    EXPECT_FALSE(Decode(Head() + Part(3, number, 1) + Part(0, nulls, 0), rs)) << "an empty part";
    EXPECT_FALSE(Decode(Head() + Part(3, number, 1), rs)) << "a part is missing";
    EXPECT_FALSE(Decode(Head() + Part(3, number, 2), rs)) << "neither the last nor followed";
    // Nulls of no type take no room, but may have to once a value follows.
    std::string many = Head();
    for (int i = 0; i < 300; ++i) {
        many += Part(380, nulls, 1);
    }
    ExpectHarmless<QXRecordset>(many + Part(1, number, 0));
    ExpectHarmless<QXRecordset>(many + Part(1, number, 1) + Part(2, text, 0));
}

TEST(HostileInput, DictionaryCannotMultiplyALongEntry) {
    std::string column = "\x05\0\x01\x01\x00\xC0\x3E"s + std::string(4000, 'x') + "\x00\x00"s;
    QXRecordset rs;
    EXPECT_TRUE(Decode(Recordset(50, column), rs));
    EXPECT_FALSE(Decode(Recordset(3000, column), rs));
}

TEST(HostileInput, WrongVersionsAndBlockSizesAreRefused) {
    const std::string good = Recordset(3, "\x21\0"s);
    QXRecordset rs;
    ASSERT_TRUE(Decode(good, rs));
    for (const auto& [offset, value] : {std::pair<std::size_t, std::uint32_t>{0, 3},
                                        {20, 0},
                                        {20, 0xFFFFFFFF},
                                        {20, 3},
                                        {24, 3},
                                        {24, 0xFFFFFFFF},
                                        {28, 7},
                                        {28, 0xFFFFFFFF}}) {
        std::string bytes = good;
        std::memcpy(bytes.data() + offset, &value, sizeof value);
        EXPECT_FALSE(Decode(bytes, rs)) << offset << ' ' << value;
    }
    QXRsList list;
    EXPECT_FALSE(Decode(Number(2) + Number(0xFFFFFFFF) + std::string(64, '\0'), list));
}

}  // namespace
}  // namespace qxdb_test
