// Every object comes back from its encoding as it was.
#include <tuple>

#include <gtest/gtest.h>

#include <qxdb/QXProxyInfo.h>
#include <qxdb/QXSvrInfo.h>

#include "tests/objects/cdr_support.h"
#include "tests/objects/samples.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

/// Whether `original` comes back the same into `copy`, which may hold something else before.
template <class T>
bool ComesBack(T& original, T&& copy = T()) {
    return Decode(Encode(original), copy) && Same(original, copy);
}

TEST(RoundTrip, RecordsetOfEveryLengthAroundBitmapAndStrideBounds) {
    for (const std::size_t rows : {0, 1, 2, 7, 8, 9, 63, 64, 65, 1023, 1024, 1025, 5000}) {
        QXRecordset original = Orders(rows);
        EXPECT_TRUE(ComesBack(original, EveryType())) << rows;
    }
}

TEST(RoundTrip, RecordsetSpreadsLargeColumnsOverBlocks) {
    QXRecordset original = Orders(60000);
    QXColumn blob("blob", QXValueType::Blob);
    std::string noise;
    for (std::uint32_t row = 0, seed = 1; row < 60000; ++row) {
        seed = seed * 1664525 + 1013904223;
        noise.assign(40, static_cast<char>(seed >> 24));
        noise[row % 40] = static_cast<char>(seed >> 16);
        blob.AppendBytes(noise, QXValueType::Blob);
    }
    original.AddColumn("blob") = blob;
    EXPECT_TRUE(ComesBack(original));
}

/// Rows `first` to before `last`.
QXRecordset Slice(const QXRecordset& rs, std::size_t first, std::size_t last) {
    QXRecordset slice;
    slice.setPageSize(rs.pageSize());
    slice.setCurrentPage(rs.currentPage());
    for (std::size_t i = 0; i < rs.ColumnCount(); ++i) {
        QXColumn& column = slice.AddColumn(rs.Column(i).NameUtf8(), rs.ColumnType(i));
        for (std::size_t row = first; row < last; ++row) {
            column.Append(rs.GetValue(row, i));
        }
    }
    slice.FillDone();
    return slice;
}

TEST(RoundTrip, RecordsetInPartsIsWhole) {
    for (const QXRecordset& original : {Orders(1000), EveryType()}) {
        std::string bytes;
        const std::size_t rows = original.RowCount();
        const std::size_t seams[] = {0, 1, rows / 3, rows / 3 + 1, rows};
        for (std::size_t part = 0; part < 4; ++part) {
            QXRecordset slice = Slice(original, seams[part], seams[part + 1]);
            const std::size_t bound = slice.size();
            ACE_OutputCDR out(bound);
            ASSERT_EQ(slice.PartToCDR(out, part == 0, part == 3), 1);
            EXPECT_LE(out.total_length(), bound);
            bytes += BytesOf(out);
        }
        QXRecordset copy;
        ASSERT_TRUE(Decode(bytes, copy));
        EXPECT_TRUE(Same(original, copy));
    }
}

TEST(RoundTrip, NumbersOfEveryWidthAndShape) {
    for (int bits = 0; bits < 64; ++bits) {
        QXRecordset original;
        QXColumn& scattered = original.AddColumn("scattered");
        QXColumn& climbing = original.AddColumn("climbing");
        std::uint64_t seed = 0x9E3779B97F4A7C15;
        std::uint64_t sum = static_cast<std::uint64_t>(-bits);
        for (int row = 0; row < 100; ++row) {
            seed = seed * 6364136223846793005 + 1442695040888963407;
            const std::uint64_t number = seed >> (63 - bits);
            sum += number;
            scattered.AppendInt64(static_cast<std::int64_t>(number));
            climbing.AppendInt64(static_cast<std::int64_t>(sum));
        }
        original.FillDone();
        EXPECT_TRUE(ComesBack(original)) << bits;
    }
}

TEST(RoundTrip, DoublesThatLookDecimalAndOnesThatDoNot) {
    QXRecordset original;
    for (const double factor : {1.0, 0.1, 0.01, 1e-8, 1e-9, 1e12, 1.0 / 3}) {
        QXColumn& column = original.AddColumn("x" + std::to_string(factor));
        for (int i = -50; i < 50; ++i) {
            column.AppendDouble(i * factor);  // -0.0 among them
        }
    }
    original.FillDone();
    EXPECT_TRUE(ComesBack(original));
}

TEST(RoundTrip, RsListKeepsItsRecordsetsInOrder) {
    QXRsList original = FilledRsList(300);
    QXRsList copy;
    copy.Add(EveryType());
    ASSERT_TRUE(Decode(Encode(original), copy));
    ASSERT_EQ(copy.Count(), original.Count());
    for (std::size_t i = 0; i < copy.Count(); ++i) {
        EXPECT_TRUE(Same(original.At(i), copy.At(i))) << i;
    }
}

TEST(RoundTrip, CommandKeepsStampTextAndParameters) {
    for (QXCommand original : {FilledCommand(), QXCommand(), QXCommand(L"COMMIT")}) {
        EXPECT_TRUE(ComesBack(original, FilledCommand()));
    }
}

TEST(RoundTrip, DescriptionsKeepEveryField) {
    QXDataSource source = FilledDataSource();
    EXPECT_TRUE(ComesBack(source));

    QXProxyInfo proxy;
    proxy.kind = QXPROXY_SOCKS5;
    proxy.host = L"proxy";
    proxy.port = 1080;
    proxy.user = L"u";
    proxy.password = L"\U0001F511";
    QXProxyInfo proxyCopy;
    ASSERT_TRUE(Decode(Encode(proxy), proxyCopy));
    EXPECT_EQ(std::tie(proxy.kind, proxy.host, proxy.port, proxy.user, proxy.password),
              std::tie(proxyCopy.kind, proxyCopy.host, proxyCopy.port, proxyCopy.user,
                       proxyCopy.password));

    QXSvrInfo server;
    server.host = L"srv";
    server.port = 65535;
    server.database = L"main";
    QXSvrInfo serverCopy;
    ASSERT_TRUE(Decode(Encode(server), serverCopy));
    EXPECT_EQ(std::tie(server.host, server.port, server.database),
              std::tie(serverCopy.host, serverCopy.port, serverCopy.database));
}

}  // namespace
}  // namespace qxdb_test
