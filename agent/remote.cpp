#include <new>
#include <string>
#include <utility>

#include <qxdb/DBAgent.h>
#include <qxdb/DBMgrErrors.h>

#include "agent/cancel_point.h"
#include "agent/exchange_turn.h"
#include "agent/lock_of.h"
#include "agent/shared_transport.h"
#include "agent/told.h"
#include "errors/caught_exception.h"
#include "messages/column_rows.h"
#include "messages/message_holder.h"
#include "messages/reply_details.h"
#include "messages/session_records.h"
#include "messages/transaction_fields.h"
#include "messages/type_codes.h"
#include "transport/result_codes.h"
#include "util/split.h"

namespace CQXDB {
namespace {

using CQXBASE::MessageHolder;
using CQXBASE::QXSesInfo;
using CQXBASE::QXSimpleMsg;

constexpr long kNoExchange = -1;

/// Codes travel as 32 bits and are signed.
long SignedCode(std::uint32_t code) {
    return static_cast<std::int32_t>(code);
}

int Fail(long& errCode, std::wstring& errText, long code, std::wstring text) {
    errCode = code;
    errText = std::move(text);
    return -1;
}

constexpr const wchar_t* kFile = L"remote";
constexpr const wchar_t* kRemoteExec = L"CQXDB::DBAgent::RemoteExec";

/// Inside a handler: the text of what was caught.
std::wstring CaughtText(const CQXBASE::ErrorSite& site) {
    return CQXBASE::DescribeCurrentException(site).text();
}

constexpr long kBadReply = CQXBASE::kReceiveFailed;

std::wstring Complaint(MessageHolder::State state, unsigned replyCode) {
    const std::wstring code = std::to_wstring(replyCode);
    switch (state) {
        case MessageHolder::State::UnknownCode:
            return L"the server sent a reply of unknown code " + code + L".";
        case MessageHolder::State::UnexpectedBody:
            return L"the server's reply of code " + code + L" does not answer the request.";
        default:
            return L"the server's reply of code " + code + L" can't be decoded.";
    }
}

/// Drops the connection of an exchange that was begun and doesn't come to its end: the next request
/// would be answered by the rest of its reply, or go to a proxy that has refused the tunnel.
class UnfinishedExchange {
  public:
    explicit UnfinishedExchange(CQXBASE::QXIO& io) : io_(io) {}
    ~UnfinishedExchange() {
        if (io_.MidExchange()) {
            io_.close_stream();
        }
    }
    UnfinishedExchange(const UnfinishedExchange&) = delete;
    UnfinishedExchange& operator=(const UnfinishedExchange&) = delete;

  private:
    CQXBASE::QXIO& io_;
};

template <typename Record>
Record& As(void* reply) {
    return *static_cast<Record*>(static_cast<CQXBASE::QXIOBase*>(reply));
}

}  // namespace

int DBAgent::RemoteExec(long& errCode, std::wstring& errText, CQXBASE::QXIOBase& request, int type,
                        void* result) {
    int outcome = -1;
    Told(errCode, errText, [&] {
        try {
            const ExchangeTurn turn;
            outcome =
                transport_ == nullptr
                    ? Fail(errCode, errText, kNoExchange,
                           L"no server: give one with init, Login or VirLogin first.")
                    : exchange_(errCode, errText, request, static_cast<unsigned>(type), result);
        } catch (const std::bad_alloc&) {
            throw;
        } catch (...) {
            Fail(errCode, errText, kNoExchange, CaughtText(QXDB_SITE(kFile, kRemoteExec)));
        }
    });
    return outcome;
}

/// Tells what Cancel needs to know of the request; false when it was cancelled while it waited.
bool DBAgent::goOut_(long& errCode, std::wstring& errText) {
    const std::size_t colon = serverName_.rfind(L':');
    RemoteCall call{serverName_.substr(0, colon), 0, proxy_, tls_, token_};
    call.port = static_cast<unsigned>(CQXBASE::PieceToLong({serverName_.substr(colon + 1)}, 0));
    if (cancelPoint_->GoesOut(std::move(call))) {
        return true;
    }
    Fail(errCode, errText, DBMGR_CANCELLED, L"the call was cancelled");
    return false;
}

int DBAgent::exchange_(long& errCode, std::wstring& errText, CQXBASE::QXIOBase& request,
                       unsigned requestCode, void* result) {
    char* data = nullptr;
    unsigned length = 0;
    std::string plainText;
    unsigned replyCode = 0;
    bool enciphered = false;
    const auto lock = LockOf(transport_->mutex);
    if (!goOut_(errCode, errText)) {
        return -1;
    }
    {
        CQXBASE::QXIO& io = transport_->io;
        const UnfinishedExchange unfinished(io);
        io.LimitReceivedBody(maxReplyBytes_);
        io.LimitSilence(replyTimeoutMs_);
        io.UseTls(tls_);
        const bool sent = io.Syc_sendobj(request, requestCode, true, true) == 0;
        sentWhole_ = sent;
        if (!sent || io.Syc_receive_data(data, length, plainText, replyCode, enciphered) != 0) {
            return Fail(errCode, errText, io.LastErrorCode(), io.LastErrorText());
        }
    }
    try {
        CQXBASE::ReplyDetails details;
        const auto reply = MessageHolder::Reply(requestCode, replyCode,
                                                CQXBASE::ReceivedBody::Of(data, length, enciphered),
                                                result, maxReplyBytes_, &details);
        notices_ = std::move(details.notices);
        replyCounts_ = std::move(details.counts);
        if (reply.GetState() == MessageHolder::State::TooLarge) {
            return Fail(errCode, errText, CQXBASE::kReplyTooLarge,
                        CQXBASE::ReplyTooLargeText(maxReplyBytes_));
        }
        if (reply.GetState() != MessageHolder::State::Good) {
            return Fail(errCode, errText, kBadReply, Complaint(reply.GetState(), replyCode));
        }
        return proc_data(errCode, errText, static_cast<int>(replyCode), reply.Object());
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        return Fail(errCode, errText, kBadReply,
                    L"decoding the server's reply failed: " +
                        CaughtText(QXDB_SITE(kFile, L"CQXDB::DBAgent::exchange_")));
    }
}

int DBAgent::proc_data(long& errCode, std::wstring& errText, int replyType, void* reply) {
    switch (replyType) {
        case CQXBASE::kErrorReply: {
            const auto& message = As<QXSimpleMsg>(reply);
            errCode = SignedCode(message.code);
            errText = message.text;
            return message.code != 0 ? 1 : 0;
        }
        case CQXBASE::kExecute:
            statusText_ = std::move(As<QXSimpleMsg>(reply).text);
            return 0;
        case CQXBASE::kSendText:
        case CQXBASE::kHandshake:
        case CQXBASE::kVirtualLogout:
            return static_cast<int>(SignedCode(As<QXSimpleMsg>(reply).code));
        case CQXBASE::kLogin:
        case CQXBASE::kVirtualLogin: {
            const auto& session = As<QXSesInfo>(reply);
            errCode = SignedCode(session.code);
            errText = session.text;
            token_ = session.token;
            if (replyType == CQXBASE::kLogin) {
                loginInfo_ = session.info;
            } else {
                takeDatabaseKind_(session.info);
            }
            return static_cast<int>(errCode);
        }
        default:
            return 0;
    }
}

/// Takes "type|~|driver"; without a second piece the driver type stays.
void DBAgent::takeDatabaseKind_(const std::wstring& info) {
    const auto pieces = CQXBASE::Split(info, L"|~|");
    dsType_ = static_cast<CQXDB_DSType_ENUM>(CQXBASE::PieceToLong(pieces, 0));
    if (pieces.size() > 1) {
        driverType_ = static_cast<CQXDB_DriverType_ENUM>(CQXBASE::PieceToLong(pieces, 1));
    }
}

int DBAgent::ExecuteRemote(long& errCode, std::wstring& errText, QXCommand& cmd) {
    return RemoteExec(errCode, errText, cmd, CQXBASE::kExecute, nullptr);
}

int DBAgent::ExecuteRemote(long& errCode, std::wstring& errText, QXCommandList& list) {
    return RemoteExec(errCode, errText, list, CQXBASE::kExecuteList, nullptr);
}

void DBAgent::describeRemote_(long& errCode, std::wstring& errText, QXCommand& cmd,
                              std::vector<QXColumnInfo>& columns) {
    const std::wstring transaction = cmd.Transaction();
    cmd.SetTransaction(CQXBASE::VerbField(transaction, CQXBASE::TransactionVerb::Describe));
    QXRecordset rs;
    const int outcome = RemoteExec(errCode, errText, cmd, CQXBASE::kQuery, &rs);
    cmd.SetTransaction(transaction);
    if (outcome == 0 && errCode == 0 && !CQXBASE::ReadColumnRows(rs, columns)) {
        Fail(errCode, errText, kBadReply, L"the server's reply describes no columns.");
    }
}

void DBAgent::OpenQueryRemote(long& errCode, std::wstring& errText, QXCommand& cmd, QXRecordset& rs,
                              long pageSize, long pageNo) {
    rs.setPageSize(pageSize);
    rs.setCurrentPage(pageNo);
    pendingRs_ = &rs;
    RemoteExec(errCode, errText, cmd, CQXBASE::kQuery, &rs);
    pendingRs_ = nullptr;
}

// The list carries the page already, so the recordset's own page is left alone here.
void DBAgent::OpenQueryRemote(long& errCode, std::wstring& errText, QXCommandList& list,
                              QXRecordset& rs, long /*pageSize*/, long /*pageNo*/) {
    pendingRs_ = &rs;
    RemoteExec(errCode, errText, list, CQXBASE::kQueryList, &rs);
    pendingRs_ = nullptr;
}

void DBAgent::BatchQryRemote(long& errCode, std::wstring& errText, QXCommandList& list,
                             QXRsList& out) {
    pendingRsList_ = &out;
    RemoteExec(errCode, errText, list, CQXBASE::kBatchQuery, &out);
    pendingRsList_ = nullptr;
}

}  // namespace CQXDB
