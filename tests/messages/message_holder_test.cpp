#include "messages/message_holder.h"

#include <memory>
#include <string>
#include <vector>

#include <ace/Message_Block.h>
#include <gtest/gtest.h>

#include <qxdb/QXCommandList.h>
#include <qxdb/QXOtpAuth.h>
#include <qxdb/QXRsList.h>

#include "messages/session_records.h"
#include "tests/messages/cdr_bytes.h"
#include "tests/support/Hex.h"

namespace CQXBASE {
namespace {

using qxdb_test::FromHex;

using CQXDB::QXCommand;
using CQXDB::QXCommandList;
using CQXDB::QXRecordset;
using CQXDB::QXRsList;
using OtpData = CQXDB::QXOtpAuth::OtpAuth_Data;
using State = MessageHolder::State;

QXRecordset OneCell(std::int64_t value) {
    QXRecordset recordset;
    recordset.AddColumn("n").AppendInt64(value);
    recordset.FillDone();
    return recordset;
}

/// Encodings to decode from; the bytes live as long as the program.
const std::string& RecordsetBytes() {
    static QXRecordset recordset = OneCell(42);
    static const std::string bytes = Encode(recordset);
    return bytes;
}
const std::string& RsListBytes() {
    static const std::string bytes = [] {
        QXRsList list;
        list.Add(OneCell(1));
        list.Add(OneCell(2));
        return Encode(list);
    }();
    return bytes;
}
const std::string& StatusBytes() {
    static QXSimpleMsg status(L"ab", 7);
    static const std::string bytes = Encode(status);
    return bytes;
}
const std::string& SessionBytes() {
    static const std::string bytes = [] {
        QXSesInfo session;
        session.token = L"token";
        return Encode(session);
    }();
    return bytes;
}

ReceivedBody Raw(const std::string& bytes) {
    return ReceivedBody::Raw(bytes.data(), bytes.size());
}

MessageHolder Reply(std::uint32_t request, std::uint32_t reply, const std::string& bytes,
                    void* result = nullptr) {
    return MessageHolder::Reply(request, reply, Raw(bytes), result);
}

TEST(MessageHolder, RepliesBecomeTheRecordOfTheirCode) {
    for (const std::uint32_t code : {1U, 2U, 4U, 6U, 8U, 20U, 29U}) {
        const MessageHolder holder = Reply(code, code, StatusBytes());
        ASSERT_EQ(State::Good, holder.GetState()) << code;
        EXPECT_EQ(L"ab", holder.As<QXSimpleMsg>()->text);
        EXPECT_EQ(7U, holder.As<QXSimpleMsg>()->code);
        EXPECT_EQ(nullptr, holder.As<QXOneString>());
        EXPECT_EQ(code, holder.Code()) << "stays as received";
        EXPECT_EQ(code, holder.ReceivedCode());
        EXPECT_EQ(State::Good, Reply(code, kStatusReply, StatusBytes()).GetState());
    }
    for (const std::uint32_t code : {28U, 30U, 34U}) {
        const MessageHolder holder = Reply(kLogin, code, SessionBytes());
        ASSERT_EQ(State::Good, holder.GetState()) << code;
        EXPECT_EQ(L"token", holder.As<QXSesInfo>()->token);
    }
}

TEST(MessageHolder, ResultsGoIntoTheCallersObject) {
    for (const std::uint32_t code : {3U, 5U, 32U}) {
        QXRecordset recordset = OneCell(0);
        {
            const MessageHolder holder = Reply(kQuery, code, RecordsetBytes(), &recordset);
            EXPECT_EQ(State::Good, holder.GetState()) << code;
            EXPECT_EQ(&recordset, holder.Object());
        }
        EXPECT_EQ(42, recordset.GetInt64(0, 0)) << "outlives the holder";
        EXPECT_EQ(42, Reply(kQuery, code, RecordsetBytes()).As<QXRecordset>()->GetInt64(0, 0));
    }
    for (const std::uint32_t code : {7U, 33U}) {
        QXRsList list;
        EXPECT_EQ(&list, Reply(kBatchQuery, code, RsListBytes(), &list).Object());
        ASSERT_EQ(2U, list.Count());
        EXPECT_EQ(2, list.At(1).GetInt64(0, 0));
        EXPECT_EQ(2U, Reply(kBatchQuery, code, RsListBytes()).As<QXRsList>()->Count());
    }
}

TEST(MessageHolder, ReplyOfAnotherClassIsRefusedUndecoded) {
    QXRecordset recordset = OneCell(5);
    QXRsList list;
    list.Add(OneCell(6));
    for (const std::uint32_t code : {7U, 33U, 1U, 31U, 34U}) {
        EXPECT_EQ(State::UnexpectedBody, Reply(kQuery, code, RsListBytes(), &recordset).GetState());
    }
    for (const std::uint32_t code : {3U, 5U, 32U, 30U}) {
        const MessageHolder holder = Reply(kBatchQuery, code, RecordsetBytes(), &list);
        EXPECT_EQ(State::UnexpectedBody, holder.GetState());
        EXPECT_EQ(nullptr, holder.Object());
        EXPECT_EQ(State::UnexpectedBody, Reply(kLogin, code == 30 ? 31 : code, "").GetState());
    }
    EXPECT_EQ(State::UnexpectedBody, Reply(kExecute, kRecordsetReply, RecordsetBytes()).GetState());
    EXPECT_EQ(State::UnexpectedBody, Reply(1000, kStatusReply, StatusBytes()).GetState());
    EXPECT_EQ(5, recordset.GetInt64(0, 0));
    EXPECT_EQ(1U, list.Count());
}

TEST(MessageHolder, ErrorsAreTakenForEveryRequest) {
    QXRecordset recordset = OneCell(5);
    for (const std::uint32_t request : {1U, 3U, 7U, 30U, 1000U}) {
        const MessageHolder holder = Reply(request, kErrorReply, StatusBytes(), &recordset);
        ASSERT_EQ(State::Good, holder.GetState()) << request;
        EXPECT_EQ(7U, holder.As<QXSimpleMsg>()->code);
        EXPECT_EQ(0U, holder.Code());
    }
    EXPECT_EQ(5, recordset.GetInt64(0, 0));
}

TEST(MessageHolder, UnknownCodesAreMarked) {
    for (const std::uint32_t code : {9U, 19U, 21U, 27U, 35U, 40U, 0xFFFFFFFFU}) {
        for (const MessageHolder& holder : {Reply(kExecute, code, StatusBytes()),
                                            MessageHolder::Request(code, Raw(StatusBytes()))}) {
            EXPECT_EQ(State::UnknownCode, holder.GetState()) << code;
            EXPECT_EQ(40U, holder.Code());
            EXPECT_EQ(code, holder.ReceivedCode());
            EXPECT_EQ(nullptr, holder.Object());
        }
    }
}

TEST(MessageHolder, BrokenBodiesAreToldApart) {
    const std::string cut = StatusBytes().substr(0, StatusBytes().size() - 1);
    for (const std::uint32_t code : {0U, 1U, 4U, 6U, 29U, 31U}) {
        const MessageHolder holder = Reply(kExecute, code, cut);
        EXPECT_EQ(State::Undecodable, holder.GetState()) << code;
        EXPECT_EQ(nullptr, holder.As<QXSimpleMsg>());
    }
    QXRecordset recordset;
    EXPECT_EQ(State::Undecodable, Reply(kQuery, kQuery, "", &recordset).GetState());
    EXPECT_EQ(State::Undecodable,
              Reply(kLogin, kLogin, FromHex("00 00 00 00 ff ff ff 7f")).GetState());
}

TEST(MessageHolder, DoneWithoutABodyIsASuccessOfExecuteOnly) {
    for (const std::uint32_t code : {1U, 2U}) {
        const MessageHolder holder = Reply(code, code, "");
        EXPECT_EQ(State::Good, holder.GetState());
        EXPECT_EQ(0U, holder.As<QXSimpleMsg>()->code);
    }
    for (const std::uint32_t code : {0U, 4U, 6U, 29U, 31U}) {
        EXPECT_EQ(State::Undecodable, Reply(kExecute, code, "").GetState()) << code;
    }
}

TEST(MessageHolder, RequestsKeepTheirCode) {
    QXOneString text(L"hello");
    QXCommand command(L"select 1");
    QXCommandList list;
    list.Add(command);
    OtpData otp(3, "a", "b");
    const auto decode = [](std::uint32_t code, QXIOBase& sent) {
        const std::string bytes = Encode(sent);
        MessageHolder holder = MessageHolder::Request(code, Raw(bytes));
        EXPECT_EQ(State::Good, holder.GetState()) << code;
        return holder;
    };
    for (const std::uint32_t code : {4U, 20U, 28U, 29U, 30U}) {
        EXPECT_EQ(L"hello", decode(code, text).As<QXOneString>()->value);
    }
    for (const std::uint32_t code : {1U, 3U}) {
        EXPECT_EQ(L"select 1", decode(code, command).As<QXCommand>()->Text());
    }
    for (const std::uint32_t code : {2U, 5U, 7U}) {
        EXPECT_EQ(1U, decode(code, list).As<QXCommandList>()->Count());
    }
    EXPECT_EQ("b", decode(8, otp).As<OtpData>()->second);
    EXPECT_EQ(State::Undecodable, MessageHolder::Request(kExecute, Raw("")).GetState());
}

/// A block that holds these bytes behind `offset` others.
std::unique_ptr<ACE_Message_Block> BlockOf(const std::string& frame, std::size_t offset = 0) {
    auto block = std::make_unique<ACE_Message_Block>(offset + frame.size());
    block->wr_ptr(offset);
    block->rd_ptr(offset);
    block->copy(frame.data(), frame.size());
    return block;
}

const std::string kHeader = FromHex("01 ee ee ee 99 99 99 99 99 99 99 99 99 99 99 99");

TEST(MessageHolder, FramesAreReadInTheByteOrderTheyName) {
    const std::string bigEndian = FromHex(
        "00 ee ee ee 99 99 99 99 99 99 99 99 99 99 99 99"
        "00 00 00 07 00 00 00 02 00 61 00 62");
    for (const std::string& frame : {kHeader + StatusBytes(), bigEndian}) {
        const auto block = BlockOf(frame);
        const MessageHolder holder =
            MessageHolder::Reply(kHandshake, kHandshake, ReceivedBody::Frame(*block), nullptr);
        ASSERT_EQ(State::Good, holder.GetState());
        EXPECT_EQ(7U, holder.As<QXSimpleMsg>()->code);
        EXPECT_EQ(L"ab", holder.As<QXSimpleMsg>()->text);
        EXPECT_EQ(frame.size(), block->length()) << "the block is not consumed";
    }
}

TEST(MessageHolder, FramesThatEndEarlyAreBroken) {
    const auto block = BlockOf(kHeader + StatusBytes());
    const auto state = [&block](std::uint32_t code, std::size_t length) {
        block->wr_ptr(block->rd_ptr() + length);
        return MessageHolder::Reply(code, code, ReceivedBody::Frame(*block), nullptr).GetState();
    };
    for (std::size_t length = 0; length < 28; ++length) {
        EXPECT_EQ(State::Undecodable, state(kHandshake, length)) << length;
        EXPECT_EQ(length == 16 ? State::Good : State::Undecodable, state(kExecute, length))
            << length;
    }
}

TEST(MessageHolder, BytesMayStartAtAnyAddress) {
    QXRecordset recordset = OneCell(0x0102030405060708);
    for (std::size_t offset = 0; offset < 9; ++offset) {
        const std::string padded = std::string(offset, '-') + Encode(recordset);
        std::vector<char> bytes(padded.begin(), padded.end());
        const ReceivedBody raw =
            ReceivedBody::Of(bytes.data() + offset, bytes.size() - offset, true);
        const auto block = BlockOf(kHeader + Encode(recordset), offset);
        const ReceivedBody frame =
            ReceivedBody::Of(reinterpret_cast<const char*>(block.get()), 0, false);
        for (const ReceivedBody& body : {raw, frame}) {
            const MessageHolder holder = MessageHolder::Reply(kQuery, kQuery, body, nullptr);
            ASSERT_EQ(State::Good, holder.GetState()) << offset;
            EXPECT_EQ(0x0102030405060708, holder.As<QXRecordset>()->GetInt64(0, 0)) << offset;
        }
    }
}

}  // namespace
}  // namespace CQXBASE
