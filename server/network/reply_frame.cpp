#include "server/network/reply_frame.h"

#include <algorithm>
#include <utility>

#include <ace/CDR_Stream.h>

#include "messages/session_records.h"
#include "messages/type_codes.h"
#include "objects/encoding/cdr_memory.h"

namespace CQXSERVER::network {
namespace {

constexpr int kLittleEndian = 1;

/// The record's CDR; empty when it can't be written. The buffer is zero before, and so are the
/// bytes that alignment skips.
std::string EncodeRecord(CQXBASE::QXIOBase& record, std::size_t bound) {
    std::string body(std::max(bound, ReplyEncoder::kSmallestBuffer), '\0');
    ACE_OutputCDR out(
        body.data(), body.size(), kLittleEndian, CQXBASE::encoding::CdrMemory::Instance(),
        CQXBASE::encoding::CdrMemory::Instance(), CQXBASE::encoding::CdrMemory::Instance());
    const bool whole = record.toCDR(out) != 0 && out.total_length() == out.begin()->length();
    body.resize(whole ? out.total_length() : 0);
    return body;
}

}  // namespace

ReplyFrame ReplyEncoder::Encode(std::uint32_t code, CQXBASE::QXIOBase& record,
                                bool encipher) const {
    const std::size_t bound = record.size();
    ByteLease lease(*budget_);
    if (bound > kLongestBody) {
        return EncodeError(ServerError::ResultTooLarge, encipher);
    }
    if (!lease.GrowTo(bound)) {
        return EncodeError(ServerError::OutOfBuffers, encipher);
    }
    std::string body = EncodeRecord(record, bound);
    if (body.empty()) {
        return EncodeError(ServerError::Internal, encipher);
    }
    return Frame(code, std::move(body), encipher, std::move(lease));
}

ReplyFrame ReplyEncoder::EncodeError(ServerError error, bool encipher) const {
    return EncodeError(static_cast<std::int32_t>(error), Text(error), encipher);
}

ReplyFrame ReplyEncoder::EncodeError(long code, const std::wstring& text, bool encipher,
                                     const CQXBASE::ReplyDetails& details) const {
    CQXBASE::QXSimpleMsg message(text, static_cast<std::uint32_t>(code));
    CQXBASE::DetailedRecord record(message, details);
    return Frame(CQXBASE::kErrorReply, EncodeRecord(record, record.size()), encipher,
                 ByteLease(*budget_));
}

ReplyFrame ReplyEncoder::Frame(std::uint32_t code, std::string body, bool encipher,
                               ByteLease lease) const {
    CQXBASE::FrameHeader header;
    header.typeCode = code;
    if (encipher && body.size() <= CQXBASE::kMaxEncipheredBody) {
        header.plainLength = static_cast<std::uint32_t>(body.size());
        body = cipher_.Encipher(body);
    }
    header.bodyLength = static_cast<std::uint32_t>(body.size());
    return {CQXBASE::EncodeFrameHeader(header), std::move(body), std::move(lease), nullptr};
}

}  // namespace CQXSERVER::network
