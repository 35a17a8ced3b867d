// Commands share what they have in common, in memory and on the wire.
#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "tests/objects/cdr_support.h"
#include "tests/objects/samples.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

TEST(Command, CopiesShareTextAndDataSourceUntilChanged) {
    const QXCommand original = FilledCommand();
    QXCommand copy = original;
    EXPECT_EQ(copy.SharedText(), original.SharedText());
    copy.SetText(L"COMMIT");
    copy.SetDB(L"other");
    EXPECT_EQ(original.Text(), L"SELECT ? /* \u4E2D */");
    EXPECT_EQ(original.DB(), L"orders");
    EXPECT_EQ(copy.SysDataSrc().database, L"other");
    EXPECT_EQ(copy.SysDataSrc().server, L"db.example");
}

TEST(Command, ParametersThatWereNeverSetAreNull) {
    QXCommand command;
    command.SetParam(2, QXValue::Int64(3));
    command.SetParam(0, QXValue::Bool(true));
    ASSERT_EQ(command.Params().size(), 3U);
    EXPECT_EQ(command.Params()[0], QXValue::Bool(true));
    EXPECT_TRUE(command.Params()[1].IsNull());
}

TEST(Command, MovedFromCommandIsStillOne) {
    QXCommand source = FilledCommand();
    const QXCommand target = std::move(source);
    // NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    source.SetParam(0, QXValue::Int64(1));
    EXPECT_EQ(source.TextUtf8(), "");
    EXPECT_EQ(target.Text(), L"SELECT ? /* \u4E2D */");
}

TEST(CommandList, ComesBackInOrderWithSharedTexts) {
    QXCommandList original = MixedList(2000);
    QXCommandList copy = MixedList(200);
    const std::string encoded = Encode(original);
    EXPECT_LT(encoded.size(), original.Count() * 6) << "nothing is repeated for a command";
    ASSERT_TRUE(Decode(encoded, copy));
    ASSERT_EQ(copy.Count(), original.Count());
    for (std::size_t i = 0; i < copy.Count(); ++i) {
        ASSERT_EQ(copy.At(i).TextUtf8(), original.At(i).TextUtf8()) << i;
        ASSERT_EQ(copy.At(i).Params(), original.At(i).Params()) << i;
    }
    EXPECT_EQ(copy.At(0).SharedText(), copy.At(3).SharedText());
    EXPECT_TRUE(Same(copy.SysDataSrc(), original.SysDataSrc()));
    EXPECT_EQ(copy.Token(), original.Token());
    EXPECT_EQ(copy.PageSize(), 1);
    EXPECT_EQ(copy.PageNo(), 2);
    QXCommandList empty;
    ASSERT_TRUE(Decode(Encode(empty), copy));
    EXPECT_TRUE(copy.Empty());
}

TEST(CommandList, SizeIsNearWhatIncompressibleParametersTake) {
    std::mt19937_64 random;
    QXCommandList list;
    for (int i = 0; i < 3000; ++i) {
        QXCommand command(L"INSERT INTO noise VALUES (?, ?)");
        command.AddParam(QXValue::Int64(static_cast<std::int64_t>(random() % 50000)));
        std::string blob(20, '\0');
        std::generate(blob.begin(), blob.end(), [&] { return static_cast<char>(random()); });
        command.AddParam(QXValue::Blob(blob.data(), blob.size()));
        list.Add(command);
    }
    const std::size_t bound = list.size();
    EXPECT_LT(bound, Encode(list).size() * 11 / 10);
}

TEST(CommandList, KeptInColumnsItIsTheSameList) {
    QXCommandList original = MixedList(50);
    const std::string encoded = Encode(original);
    QXCommandList kept;
    kept.KeepColumns();
    ASSERT_TRUE(Decode(encoded, kept));
    EXPECT_NE(kept.Columns(), nullptr);
    EXPECT_EQ(kept.Count(), original.Count());
    EXPECT_EQ(Encode(kept), encoded);
    QXCommandList copy = kept;
    copy.Add(QXCommand(L"SELECT 1"));
    EXPECT_EQ(copy.Columns(), nullptr);
    EXPECT_EQ(copy.Count(), original.Count() + 1);
    EXPECT_NE(kept.Columns(), nullptr);
    const QXCommandList moved = std::move(kept);
    auto each = original.begin();
    for (const QXCommand& command : moved) {
        EXPECT_EQ(command.TextUtf8(), each->TextUtf8());
        EXPECT_EQ(command.Params(), each->Params());
        ++each;
    }
    EXPECT_EQ(each, original.end());
    EXPECT_EQ(moved.Columns(), nullptr);
    kept = moved;
    kept.KeepColumns();
    ASSERT_TRUE(Decode(encoded, kept));
    kept.RemoveAll();
    EXPECT_TRUE(kept.Empty());
    EXPECT_EQ(kept.Columns(), nullptr);
}

TEST(CommandList, WhatChangesAfterItsSizeIsEncoded) {
    const auto encoded = [](const QXCommandList& list) {
        ACE_OutputCDR out;
        EXPECT_EQ(list.toCDR(out), 1);
        return BytesOf(out);
    };
    QXCommandList list = MixedList(3);
    QXCommand& first = list.At(0);
    const std::string before = Encode(list);
    list.size();
    first.SetParam(0, QXValue::Int64(77));
    EXPECT_NE(encoded(list), before);
    list = MixedList(3);
    list.size();
    list.Add(QXCommand(L"SELECT 1"));
    const std::string longer = encoded(list);
    EXPECT_GT(longer.size(), before.size());
    list.size();
    QXCommandList other = list;
    list.RemoveAll();
    EXPECT_LT(encoded(list).size(), before.size());
    EXPECT_EQ(encoded(other), longer);
}

}  // namespace
}  // namespace qxdb_test
