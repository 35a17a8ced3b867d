#include "messages/message_holder.h"

#include <cstdint>
#include <string>

#include <ace/Message_Block.h>

#include <qxdb/QXCommandList.h>
#include <qxdb/QXOtpAuth.h>
#include <qxdb/QXRsList.h>

#include "messages/body_stream.h"
#include "messages/reply_details.h"
#include "messages/session_records.h"
#include "objects/encoding/cdr_fields.h"

namespace CQXBASE {
namespace {

constexpr int kLittleEndian = 1;

/// Most lists are only run, for which their columns will do.
std::unique_ptr<QXIOBase> NewCommandList() {
    auto list = std::make_unique<CQXDB::QXCommandList>();
    list->KeepColumns();
    return list;
}

std::unique_ptr<QXIOBase> NewRecord(BodyClass body) {
    switch (body) {
        case BodyClass::SimpleMsg:
            return std::make_unique<QXSimpleMsg>(std::wstring(), 0);
        case BodyClass::OneString:
            return std::make_unique<QXOneString>(std::wstring());
        case BodyClass::SesInfo:
            return std::make_unique<QXSesInfo>();
        case BodyClass::OtpAuthData:
            return std::make_unique<CQXDB::QXOtpAuth::OtpAuth_Data>(0, std::string(),
                                                                    std::string());
        case BodyClass::Command:
            return std::make_unique<CQXDB::QXCommand>();
        case BodyClass::CommandList:
            return NewCommandList();
        case BodyClass::Recordset:
            return std::make_unique<CQXDB::QXRecordset>();
        case BodyClass::RsList:
            return std::make_unique<CQXDB::QXRsList>();
        case BodyClass::None:
            break;
    }
    return nullptr;
}

QXIOBase* CallersObject(BodyClass expected, void* result) {
    if (expected == BodyClass::Recordset) {
        return static_cast<CQXDB::QXRecordset*>(result);
    }
    if (expected == BodyClass::RsList) {
        return static_cast<CQXDB::QXRsList*>(result);
    }
    return nullptr;
}

/// Adds up what decoding a reply takes.
class ReplyMemory : public encoding::DecodeMemory {
  public:
    explicit ReplyMemory(std::uint64_t most) noexcept : left_(most) {}

    bool Take(std::uint64_t bytes) noexcept override {
        tooMuch_ = tooMuch_ || bytes > left_;
        left_ -= tooMuch_ ? 0 : bytes;
        return !tooMuch_;
    }
    bool TooMuch() const noexcept { return tooMuch_; }

  private:
    std::uint64_t left_;
    bool tooMuch_ = false;
};

}  // namespace

MessageHolder MessageHolder::Request(std::uint32_t code, const ReceivedBody& body,
                                     encoding::DecodeMemory* memory) {
    MessageHolder holder(code);
    holder.memory_ = memory;
    holder.Create(BodyOf(code), nullptr);
    holder.Decode(body);
    return holder;
}

MessageHolder MessageHolder::Reply(std::uint32_t requestCode, std::uint32_t replyCode,
                                   const ReceivedBody& body, void* result, std::uint64_t mostBytes,
                                   ReplyDetails* details) {
    MessageHolder holder(replyCode);
    holder.details_ = details;
    const BodyClass expected = ExpectedReply(requestCode);
    const BodyClass received = ExpectedReply(replyCode);
    if (received != expected && received != BodyClass::None && replyCode != kErrorReply) {
        holder.state_ = State::UnexpectedBody;
        return holder;
    }
    holder.mayBeEmpty_ = replyCode == kExecute || replyCode == kExecuteList;
    holder.Create(received, received == expected ? CallersObject(expected, result) : nullptr);
    ReplyMemory memory(mostBytes);
    holder.memory_ = mostBytes == 0 ? nullptr : &memory;
    holder.Decode(body);
    holder.memory_ = nullptr;
    holder.details_ = nullptr;
    if (memory.TooMuch()) {
        holder.state_ = State::TooLarge;
    }
    return holder;
}

void MessageHolder::Create(BodyClass body, QXIOBase* callers) {
    if (body == BodyClass::None) {
        code_ = kUnknownCode;
        return;
    }
    if (callers == nullptr) {
        owned_ = NewRecord(body);
    }
    object_ = callers != nullptr ? callers : owned_.get();
}

void MessageHolder::Decode(const ReceivedBody& body) {
    if (object_ == nullptr) {
        return;
    }
    if (body.raw) {
        DecodeRaw(body.data, body.length);
    } else {
        DecodeFrame(*static_cast<const ACE_Message_Block*>(body.data));
    }
}

void MessageHolder::DecodeRaw(const void* bytes, std::size_t length) {
    const AlignedBytes aligned(bytes, length);
    BorrowedStream stream(aligned.Begin(), length);
    DecodeFrom(stream.Get());
}

void MessageHolder::DecodeFrame(const ACE_Message_Block& block) {
    const AlignedBytes aligned(block.rd_ptr(), block.length());
    BorrowedStream stream(aligned.Begin(), block.length());
    encoding::BoundedInput& in = stream.Get();
    ACE_CDR::Boolean littleEndian = true;
    in.read_boolean(littleEndian);
    in.reset_byte_order(littleEndian ? kLittleEndian : 0);
    for (int word = 0; word < 3; ++word) {
        std::uint32_t ignored = 0;
        encoding::ReadULong(in, ignored);
    }
    DecodeFrom(in);
}

void MessageHolder::DecodeFrom(encoding::BoundedInput& in) {
    in.memory = memory_;
    const bool skip = mayBeEmpty_ && in.good_bit() && in.length() == 0;
    state_ = skip || object_->fromCDR(in) != 0 ? State::Good : State::Undecodable;
    if (state_ == State::Good && details_ != nullptr) {
        *details_ = ReadDetails(in);
    }
}

}  // namespace CQXBASE
