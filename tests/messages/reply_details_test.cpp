#include "messages/reply_details.h"

#include <cstdint>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <qxdb/QXRsList.h>

#include "messages/message_holder.h"
#include "messages/session_records.h"
#include "tests/objects/cdr_support.h"

namespace CQXBASE {
namespace {

using CQXDB::QXCountList;
using CQXDB::QXCounts;
using CQXDB::QXRecordset;
using qxdb_test::Encode;
using State = MessageHolder::State;

ReplyDetails Told() {
    ReplyDetails details;
    for (std::int64_t id = 10; id < 1010; ++id) {
        details.counts.Add({1, id});
    }
    details.counts.Add({-1, INT64_MIN});
    details.counts.Add({INT64_MAX, 0});
    details.notices = {{L"NOTICE", 0, L"one"}, {L"", -7, L"zw\x00F6lf"}};
    return details;
}

void ExpectTold(const ReplyDetails& details) {
    ASSERT_EQ(details.counts.Count(), 1002U);
    EXPECT_EQ(details.counts.At(0).lastInsertId, 10);
    EXPECT_EQ(details.counts.At(999).lastInsertId, 1009);
    EXPECT_EQ(details.counts.At(1000).lastInsertId, INT64_MIN);
    EXPECT_EQ(details.counts.At(1001).rowsAffected, INT64_MAX);
    EXPECT_EQ(details.counts.At(1002).rowsAffected, -1) << "there is none";
    ASSERT_EQ(details.notices.size(), 2U);
    EXPECT_EQ(details.notices[0].level, L"NOTICE");
    EXPECT_EQ(details.notices[1].code, -7);
    EXPECT_EQ(details.notices[1].text, L"zw\x00F6lf");
}

std::string Detailed(QXIOBase& record, const ReplyDetails& details) {
    DetailedRecord both(record, details);
    return Encode(both);
}

MessageHolder Read(const std::string& bytes, std::uint32_t code, ReplyDetails* details) {
    return MessageHolder::Reply(code, code, ReceivedBody::Raw(bytes.data(), bytes.size()), nullptr,
                                0, details);
}

TEST(ReplyDetails, StandBehindEveryKindOfRecord) {
    for (const wchar_t* text : {L"", L"a", L"ab", L"abc"}) {  // which end at any alignment
        QXSimpleMsg status(text, 7);
        QXRecordset rows;
        rows.AddColumn("n").Append(CQXDB::QXValue::Text(text));
        rows.FillDone();
        CQXDB::QXRsList list;
        list.Add(rows);
        for (const auto& [code, record] : {std::pair<std::uint32_t, QXIOBase*>{kExecute, &status},
                                           {kQuery, &rows},
                                           {kBatchQuery, &list}}) {
            const std::string bytes = Detailed(*record, Told());
            ReplyDetails details;
            EXPECT_EQ(Read(bytes, code, &details).GetState(), State::Good);
            ExpectTold(details);
            EXPECT_EQ(Read(bytes, code, nullptr).GetState(), State::Good) << "nobody asks";
            ReplyDetails none;
            EXPECT_EQ(Read(Encode(*record), code, &none).GetState(), State::Good);
            EXPECT_TRUE(none.Empty());
        }
    }
}

TEST(ReplyDetails, WhatMakesNoSenseIsNone) {
    QXSimpleMsg status(L"done", 0);
    const std::size_t record = Encode(status).size();
    const std::string whole = Detailed(status, Told());
    for (std::size_t length = record; length < whole.size(); ++length) {
        ReplyDetails details;
        EXPECT_EQ(Read(whole.substr(0, length), kExecute, &details).GetState(), State::Good);
        EXPECT_TRUE(details.Empty()) << length;
    }
    for (std::size_t at = record; at < whole.size(); ++at) {
        std::string broken = whole;
        broken[at] = static_cast<char>(broken[at] ^ 0x80);
        ReplyDetails details;
        EXPECT_EQ(Read(broken, kExecute, &details).GetState(), State::Good) << at;
        EXPECT_LE(details.notices.size(), 2U);
    }
    ReplyDetails many;
    many.notices.resize(kMostReplyNotices + 1);
    ReplyDetails details;
    Read(Detailed(status, many), kExecute, &details);
    EXPECT_TRUE(details.Empty()) << "more than any server sends";
}

TEST(ReplyDetails, InsertsTakeUpNoMoreThanOne) {
    ReplyDetails many;
    for (std::int64_t id = 1; id <= 100000; ++id) {
        many.counts.Add({1, id});
    }
    EXPECT_EQ(many.counts.Runs().size(), 1U);
    EXPECT_LT(DetailsSize(many), 64U);
    QXCounts all;
    for (std::uint64_t i = 0; i < many.counts.Count(); ++i) {
        all += many.counts.At(i);
    }
    EXPECT_EQ(all.rowsAffected, 100000);
    EXPECT_EQ(all.lastInsertId, 100000);
    EXPECT_EQ((all += QXCounts{-1, 0}).rowsAffected, -1) << "unknown";
}

}  // namespace
}  // namespace CQXBASE
