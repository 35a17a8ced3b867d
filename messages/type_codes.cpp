#include "messages/type_codes.h"

#include <algorithm>
#include <iterator>

namespace CQXBASE {
namespace {

struct Row {
    std::uint32_t code;
    BodyClass body;
    std::uint32_t reply;
};

constexpr Row kTable[] = {
    {kErrorReply, BodyClass::SimpleMsg, kStatusReply},
    {kExecute, BodyClass::Command, kStatusReply},
    {kExecuteList, BodyClass::CommandList, kStatusReply},
    {kQuery, BodyClass::Command, kRecordsetReply},
    {kSendText, BodyClass::OneString, kStatusReply},
    {kQueryList, BodyClass::CommandList, kRecordsetReply},
    {kHandshake, BodyClass::SimpleMsg, kStatusReply},
    {kBatchQuery, BodyClass::CommandList, kResultListReply},
    {kOtpData, BodyClass::OtpAuthData, kStatusReply},
    {kCancel, BodyClass::OneString, kStatusReply},
    {kVirtualLogin, BodyClass::OneString, kSessionReply},
    {kVirtualLogout, BodyClass::OneString, kStatusReply},
    {kLogin, BodyClass::OneString, kSessionReply},
    {kStatusReply, BodyClass::SimpleMsg, kStatusReply},
    {kRecordsetReply, BodyClass::Recordset, kRecordsetReply},
    {kResultListReply, BodyClass::RsList, kResultListReply},
    {kSessionReply, BodyClass::SesInfo, kSessionReply},
};

const Row* Find(std::uint32_t code) noexcept {
    const auto* row = std::find_if(std::begin(kTable), std::end(kTable),
                                   [code](const Row& each) { return each.code == code; });
    return row == std::end(kTable) ? nullptr : row;
}

}  // namespace

BodyClass BodyOf(std::uint32_t code) noexcept {
    const Row* row = Find(code);
    return row != nullptr ? row->body : BodyClass::None;
}

std::uint32_t ReplyCode(std::uint32_t code) noexcept {
    const Row* row = Find(code);
    return row != nullptr ? row->reply : code;
}

BodyClass ExpectedReply(std::uint32_t requestCode) noexcept {
    return BodyOf(ReplyCode(requestCode));
}

bool IsRequest(std::uint32_t code) noexcept {
    return code != kErrorReply && code < kStatusReply && Find(code) != nullptr;
}

}  // namespace CQXBASE
