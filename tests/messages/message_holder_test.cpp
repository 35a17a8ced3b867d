#include "messages/message_holder.h"

#include <memory>
#include <string>

#include <ace/Message_Block.h>
#include <gtest/gtest.h>

#include <qxdb/QXOtpAuth.h>
#include <qxdb/QXRsList.h>

#include "messages/session_records.h"
#include "tests/objects/cdr_support.h"
#include "tests/support/Hex.h"

namespace CQXBASE {
namespace {

using CQXDB::QXRecordset;
using CQXDB::QXRsList;
using qxdb_test::Encode;
using qxdb_test::FromHex;
using OtpData = CQXDB::QXOtpAuth::OtpAuth_Data;
using State = MessageHolder::State;

QXRecordset OneCell(std::int64_t value) {
    QXRecordset recordset;
    recordset.AddColumn("n").AppendInt64(value);
    recordset.FillDone();
    return recordset;
}

template <class T>
std::string BytesOf(T object) {
    return Encode(object);
}

QXRsList TwoResults() {
    QXRsList list;
    list.Add(OneCell(1));
    list.Add(OneCell(2));
    return list;
}

QXSesInfo Session() {
    QXSesInfo session;
    session.token = L"token";
    return session;
}

const std::string kStatus = BytesOf(QXSimpleMsg(L"ab", 7));
const std::string kSession = BytesOf(Session());
const std::string kRecordset = BytesOf(OneCell(0x0102030405060708));
const std::string kRsList = BytesOf(TwoResults());

ReceivedBody Raw(const std::string& bytes) {
    return ReceivedBody::Raw(bytes.data(), bytes.size());
}

MessageHolder Reply(std::uint32_t request, std::uint32_t reply, const std::string& bytes,
                    void* result = nullptr) {
    return MessageHolder::Reply(request, reply, Raw(bytes), result);
}

TEST(MessageHolder, RepliesBecomeTheRecordOfTheirCode) {
    for (const std::uint32_t code : {1U, 2U, 4U, 6U, 8U, 20U, 29U}) {
        const MessageHolder holder = Reply(code, code, kStatus);
        ASSERT_EQ(State::Good, holder.GetState()) << code;
        EXPECT_EQ(L"ab", holder.As<QXSimpleMsg>()->text);
        EXPECT_EQ(nullptr, holder.As<QXOneString>());
        EXPECT_EQ(code, holder.Code()) << "stays as received";
        EXPECT_EQ(State::Good, Reply(code, kStatusReply, kStatus).GetState());
    }
    for (const std::uint32_t code : {28U, 30U, 34U}) {
        const MessageHolder holder = Reply(kLogin, code, kSession);
        ASSERT_EQ(State::Good, holder.GetState()) << code;
        EXPECT_EQ(L"token", holder.As<QXSesInfo>()->token);
    }
}

TEST(MessageHolder, ResultsGoIntoTheCallersObjectAndOutliveTheHolder) {
    for (const std::uint32_t code : {3U, 5U, 32U}) {
        QXRecordset recordset = OneCell(0);
        EXPECT_EQ(&recordset, Reply(kQuery, code, kRecordset, &recordset).Object()) << code;
        EXPECT_EQ(0x0102030405060708, recordset.GetInt64(0, 0));
        EXPECT_EQ(1U, Reply(kQuery, code, kRecordset).As<QXRecordset>()->RowCount());
    }
    for (const std::uint32_t code : {7U, 33U}) {
        QXRsList list;
        EXPECT_EQ(&list, Reply(kBatchQuery, code, kRsList, &list).Object()) << code;
        EXPECT_EQ(2, list.At(1).GetInt64(0, 0));
        EXPECT_EQ(2U, Reply(kBatchQuery, code, kRsList).As<QXRsList>()->Count());
    }
}

TEST(MessageHolder, ReplyOfAnotherClassIsRefusedUndecoded) {
    QXRecordset recordset = OneCell(5);
    QXRsList list = TwoResults();
    for (const std::uint32_t code : {7U, 33U, 1U, 31U, 34U}) {
        const MessageHolder holder = Reply(kQuery, code, kRsList, &recordset);
        EXPECT_EQ(State::UnexpectedBody, holder.GetState()) << code;
        EXPECT_EQ(nullptr, holder.Object());
    }
    for (const std::uint32_t code : {3U, 5U, 32U, 30U}) {
        EXPECT_EQ(State::UnexpectedBody, Reply(kBatchQuery, code, kRecordset, &list).GetState());
    }
    EXPECT_EQ(State::UnexpectedBody, Reply(kExecute, kRecordsetReply, kRecordset).GetState());
    EXPECT_EQ(State::UnexpectedBody, Reply(1000, kStatusReply, kStatus).GetState());
    EXPECT_EQ(5, recordset.GetInt64(0, 0));
    EXPECT_EQ(2U, list.Count());
}

TEST(MessageHolder, UnknownCodesAreMarked) {
    std::string requests;
    for (std::uint32_t code = 0; code < 300; ++code) {
        requests += IsRequest(code) ? " " + std::to_string(code) : "";
    }
    EXPECT_EQ(" 1 2 3 4 5 6 7 8 20 28 29 30", requests);
    for (const std::uint32_t code : {9U, 27U, 35U, 40U, 0xFFFFFFFFU}) {
        for (const MessageHolder& holder :
             {Reply(kExecute, code, kStatus), MessageHolder::Request(code, Raw(kStatus))}) {
            EXPECT_EQ(State::UnknownCode, holder.GetState()) << code;
            EXPECT_EQ(40U, holder.Code());
            EXPECT_EQ(code, holder.ReceivedCode());
            EXPECT_EQ(nullptr, holder.Object());
        }
    }
}

TEST(MessageHolder, BodiesThatAreCutAreToldApartAndOnlyExecuteMayBeAnsweredWithout) {
    const std::string cut = kStatus.substr(0, kStatus.size() - 1);
    for (const std::uint32_t code : {0U, 1U, 2U, 4U, 6U, 29U, 31U}) {
        EXPECT_EQ(State::Undecodable, Reply(kExecute, code, cut).GetState()) << code;
        const bool optional = code == kExecute || code == kExecuteList;
        EXPECT_EQ(optional ? State::Good : State::Undecodable, Reply(kExecute, code, "").GetState())
            << code;
    }
    EXPECT_EQ(0U, Reply(kExecute, kExecute, "").As<QXSimpleMsg>()->code);
    QXRecordset recordset;
    EXPECT_EQ(nullptr, Reply(kQuery, kQuery, "", &recordset).Object());
    EXPECT_EQ(State::Undecodable, MessageHolder::Request(kExecute, Raw("")).GetState());
}

// The others are what the server is tested with.
TEST(MessageHolder, RequestsThatNoAgentSendsBecomeTheRecordTheyCarry) {
    const std::string text = BytesOf(QXOneString(L"hello"));
    EXPECT_EQ(L"hello", MessageHolder::Request(20, Raw(text)).As<QXOneString>()->value);
    const std::string otp = BytesOf(OtpData(3, "a", "b"));
    EXPECT_EQ("b", MessageHolder::Request(8, Raw(otp)).As<OtpData>()->second);
}

const std::string kHeader = FromHex("01 ee ee ee 99 99 99 99 99 99 99 99 99 99 99 99");

/// A block that holds the frame behind `offset` other bytes.
std::unique_ptr<ACE_Message_Block> BlockOf(const std::string& frame, std::size_t offset = 0) {
    auto block = std::make_unique<ACE_Message_Block>(offset + frame.size());
    block->wr_ptr(offset);
    block->rd_ptr(offset);
    block->copy(frame.data(), frame.size());
    return block;
}

TEST(MessageHolder, FramesAreReadInTheByteOrderTheyName) {
    const std::string bigEndian = FromHex(
        "00 ee ee ee 99 99 99 99 99 99 99 99 99 99 99 99 00 00 00 07 00 00 00 02 00 61 00 62");
    for (const std::string& frame : {kHeader + kStatus, bigEndian}) {
        const auto block = BlockOf(frame);
        const MessageHolder holder =
            MessageHolder::Reply(kHandshake, kHandshake, ReceivedBody::Frame(*block), nullptr);
        ASSERT_EQ(State::Good, holder.GetState());
        EXPECT_EQ(7U, holder.As<QXSimpleMsg>()->code);
        EXPECT_EQ(L"ab", holder.As<QXSimpleMsg>()->text);
        EXPECT_EQ(frame.size(), block->length()) << "the block is not consumed";
    }
}

TEST(MessageHolder, BytesMayStartAtAnyAddress) {
    for (std::size_t offset = 0; offset < 9; ++offset) {
        const auto raw = BlockOf(kRecordset, offset);
        const auto frame = BlockOf(kHeader + kRecordset, offset);
        for (const ReceivedBody& body :
             {ReceivedBody::Of(raw->rd_ptr(), raw->length(), true),
              ReceivedBody::Of(reinterpret_cast<const char*>(frame.get()), 0, false)}) {
            const MessageHolder holder = MessageHolder::Reply(kQuery, kQuery, body, nullptr);
            ASSERT_EQ(State::Good, holder.GetState()) << offset;
            EXPECT_EQ(0x0102030405060708, holder.As<QXRecordset>()->GetInt64(0, 0)) << offset;
        }
    }
}

}  // namespace
}  // namespace CQXBASE
