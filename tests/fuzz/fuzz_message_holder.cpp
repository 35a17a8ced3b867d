#include <ace/Message_Block.h>

#include <qxdb/QXRsList.h>

#include "messages/message_holder.h"
#include "messages/reply_details.h"
#include "tests/fuzz/fuzz_input.h"

namespace {

using CQXBASE::BodyClass;
using CQXBASE::MessageHolder;
using CQXBASE::ReceivedBody;
using qxdb_test::Require;

MessageHolder Decode(std::uint32_t request, std::uint32_t received, bool isReply,
                     const ReceivedBody& body, CQXDB::QXRecordset& recordset,
                     CQXDB::QXRsList& list) {
    if (!isReply) {
        return MessageHolder::Request(received, body);
    }
    const BodyClass expected = CQXBASE::ExpectedReply(request);
    void* result = nullptr;
    if (expected == BodyClass::Recordset) {
        result = &recordset;
    } else if (expected == BodyClass::RsList) {
        result = &list;
    }
    CQXBASE::ReplyDetails details;
    MessageHolder holder =
        MessageHolder::Reply(request, received, body, result, std::uint64_t{1} << 24U, &details);
    for (std::uint64_t i = 0; i < 3; ++i) {
        details.counts.At(details.counts.Count() - i);
    }
    return holder;
}

void CheckState(const MessageHolder& holder, bool isReply) {
    using State = MessageHolder::State;
    const std::uint32_t code = holder.ReceivedCode();
    const BodyClass body = CQXBASE::BodyOf(code);
    Require((holder.GetState() == State::Good) == (holder.Object() != nullptr),
            "there is an object exactly when the state is good");
    Require((body == BodyClass::None) == (holder.GetState() == State::UnknownCode),
            "exactly the codes outside the table are unknown");
    Require(isReply || holder.GetState() != State::UnexpectedBody, "any request is expected");
}

}  // namespace

// Request code, received code, kind of body, body.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qxdb_test::FuzzInput input(data, size);
    const std::uint8_t request = input.Byte();
    const std::uint8_t received = input.Byte();
    const std::uint8_t kind = input.Byte();
    const bool isReply = (kind & 1) != 0;
    const std::string bytes = input.Rest();
    ACE_Message_Block block(bytes.data(), bytes.size());
    block.wr_ptr(bytes.size());
    CQXDB::QXRecordset recordset;
    CQXDB::QXRsList list;
    const ReceivedBody body = (kind & 2) != 0 ? ReceivedBody::Frame(block)
                                              : ReceivedBody::Raw(bytes.data(), bytes.size());
    CheckState(Decode(request, received, isReply, body, recordset, list), isReply);
    return 0;
}
