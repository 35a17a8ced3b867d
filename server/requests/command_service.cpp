#include "server/requests/command_service.h"

#include <utility>

#include <qxdb/DBMgrErrors.h>

#include "messages/session_records.h"
#include "messages/type_codes.h"
#include "server/requests/streamed_reply.h"
#include "server/server_error.h"
#include "util/text.h"

namespace CQXSERVER::requests {
using namespace CQXDB;

CommandService::CommandService(sessions::LoginService& logins, sessions::SessionTable& sessions,
                               const DatabaseRegistry& databases, RunningCommands& running,
                               const network::ReplyEncoder& encoder, std::size_t maxResultBytes)
    : logins_(logins),
      sessions_(sessions),
      databases_(databases),
      running_(running),
      encoder_(encoder),
      maxResultBytes_(maxResultBytes) {}

network::Outcome CommandService::Serve(const network::Request& request,
                                       const CQXBASE::MessageHolder& message) {
    if (auto* const command = message.As<QXCommand>()) {
        return ServeAny(request, *command);
    }
    auto* const list = message.As<QXCommandList>();
    if (list == nullptr) {
        throw RequestRefused(ServerError::UndecodableBody);
    }
    return request.Code() == CQXBASE::kBatchQuery ? Batch(request, *list)
                                                  : ServeAny(request, *list);
}

template <class Commands>
network::Outcome CommandService::ServeAny(const network::Request& request, Commands& commands) {
    const Caller caller = Authorize(request, commands);
    const RunningCommands::Entry entry(running_, CQXBASE::WideToUtf8(commands.Token()),
                                       request.cancellation);
    if (request.Code() == CQXBASE::kExecute || request.Code() == CQXBASE::kExecuteList) {
        CQXBASE::QXSimpleMsg status(std::wstring(), 0);
        return Reply(request, Execute(caller, commands), status, commands.Token());
    }
    QXRecordset rs;
    StreamedReply streamed(encoder_, request.Enciphered());
    const DatabaseAnswer answer = Query(caller, commands, rs, maxResultBytes_, streamed.Sink());
    if (streamed.Begun() && answer.code == 0) {
        network::Outcome outcome;
        outcome.token = CQXBASE::WideToUtf8(commands.Token());
        outcome.reply = streamed.Finish(request.Code(), std::move(rs));
        return outcome;
    }
    streamed.Check();
    return Reply(request, answer, rs, commands.Token());
}

network::Outcome CommandService::Batch(const network::Request& request, QXCommandList& list) {
    const Caller caller = Authorize(request, list);
    const RunningCommands::Entry entry(running_, CQXBASE::WideToUtf8(list.Token()),
                                       request.cancellation);
    QXRsList results;
    const DatabaseAnswer answer = requests::Batch(caller, list, results, maxResultBytes_);
    return Reply(request, answer, results, list.Token());
}

template <class Commands>
Caller CommandService::Authorize(const network::Request& request, Commands& commands) {
    const sessions::Session session = sessions_.Require(CQXBASE::WideToUtf8(commands.Token()));
    const sessions::Account account = logins_.AccountOf(session);
    commands.SetSysDataSrc(databases_.Resolve(commands.SysDataSrc(), account, session.database));
    return {account.name, request.cancellation.get()};
}

network::Outcome CommandService::Reply(const network::Request& request,
                                       const DatabaseAnswer& answer, CQXBASE::QXIOBase& record,
                                       const std::wstring& token) const {
    if (answer.code == DBMGR_RESULT_TOO_LARGE) {
        throw RequestRefused(ServerError::ResultTooLarge);
    }
    network::Outcome outcome;
    outcome.token = CQXBASE::WideToUtf8(token);
    outcome.reply = answer.code == 0
                        ? encoder_.Encode(request.Code(), record, request.Enciphered())
                        : encoder_.EncodeError(answer.code, answer.text, request.Enciphered());
    return outcome;
}

}  // namespace CQXSERVER::requests
