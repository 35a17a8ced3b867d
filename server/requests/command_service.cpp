#include "server/requests/command_service.h"

#include <utility>

#include <qxdb/DBMgrErrors.h>

#include "messages/session_records.h"
#include "messages/transaction_fields.h"
#include "messages/type_codes.h"
#include "server/requests/streamed_reply.h"
#include "server/server_error.h"
#include "util/text.h"

namespace CQXSERVER::requests {
using namespace CQXDB;

CommandService::CommandService(sessions::LoginService& logins, sessions::SessionTable& sessions,
                               const DatabaseRegistry& databases, RunningCommands& running,
                               Transactions& transactions, const network::ReplyEncoder& encoder,
                               std::size_t maxResultBytes)
    : logins_(logins),
      sessions_(sessions),
      databases_(databases),
      running_(running),
      transactions_(transactions),
      encoder_(encoder),
      maxResultBytes_(maxResultBytes) {}

network::Outcome CommandService::Serve(const network::Request& request,
                                       const CQXBASE::MessageHolder& message) {
    if (auto* const command = message.As<QXCommand>()) {
        const auto verb = CQXBASE::SplitTokenField(command->Token()).verb;
        const bool controls = verb != CQXBASE::TransactionVerb::None;
        return controls ? Control(request, *command, verb) : ServeAny(request, *command);
    }
    auto* const list = message.As<QXCommandList>();
    if (list == nullptr) {
        throw RequestRefused(ServerError::UndecodableBody);
    }
    return request.Code() == CQXBASE::kBatchQuery ? Batch(request, *list)
                                                  : ServeAny(request, *list);
}

template <class Commands, class Work>
DatabaseAnswer CommandService::Within(const network::Request& request, const Caller& caller,
                                      const Commands& commands, Work work) {
    if (commands.Transaction().empty()) {
        return work();
    }
    const Transactions::Use use(
        transactions_, {CQXBASE::WideToUtf8(commands.Token()), caller.account, request.connection},
        commands.Transaction());
    return use ? work() : Transactions::Over();
}

/// Begins or ends a transaction.
network::Outcome CommandService::Control(const network::Request& request, QXCommand& command,
                                         CQXBASE::TransactionVerb verb) {
    const Caller caller = Authorize(request, command);
    const RunningCommands::Entry entry(running_, CQXBASE::WideToUtf8(command.Token()),
                                       request.cancellation);
    const TransactionOwner owner{CQXBASE::WideToUtf8(command.Token()), caller.account,
                                 request.connection};
    DatabaseAnswer answer = Transactions::Over();
    std::wstring id;
    const auto info = CQXBASE::ParseBeginText(command.TextUtf8());
    const bool begins = verb == CQXBASE::TransactionVerb::Begin;
    if (verb == CQXBASE::TransactionVerb::Unknown || request.Code() != CQXBASE::kExecute ||
        (begins && !info)) {
        throw RequestRefused(ServerError::UndecodableBody);
    }
    if (begins) {
        answer = transactions_.Begin(owner, caller, command.SysDataSrc(), *info, id);
    } else if (Transactions::Use use(transactions_, owner, command.Transaction()); use) {
        use.End();
        answer = verb == CQXBASE::TransactionVerb::Commit ? Commit(command.Transaction())
                                                          : Rollback(command.Transaction());
    }
    try {
        CQXBASE::QXSimpleMsg status(id, 0);
        return Reply(request, answer, status, command.Token());
    } catch (...) {
        transactions_.End(id);  // nobody gets to know it
        throw;
    }
}

template <class Commands>
network::Outcome CommandService::ServeAny(const network::Request& request, Commands& commands) {
    const Caller caller = Authorize(request, commands);
    const RunningCommands::Entry entry(running_, CQXBASE::WideToUtf8(commands.Token()),
                                       request.cancellation);
    if (request.Code() == CQXBASE::kExecute || request.Code() == CQXBASE::kExecuteList) {
        CQXBASE::QXSimpleMsg status(std::wstring(), 0);
        const DatabaseAnswer answer =
            Within(request, caller, commands, [&] { return Execute(caller, commands); });
        return Reply(request, answer, status, commands.Token());
    }
    QXRecordset rs;
    StreamedReply streamed(encoder_, request.Enciphered());
    const DatabaseAnswer answer = Within(request, caller, commands, [&] {
        return Query(caller, commands, rs, maxResultBytes_, streamed.Sink());
    });
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
    const DatabaseAnswer answer = Within(request, caller, list, [&] {
        return requests::Batch(caller, list, results, maxResultBytes_);
    });
    return Reply(request, answer, results, list.Token());
}

template <class Commands>
Caller CommandService::Authorize(const network::Request& request, Commands& commands) {
    const CQXBASE::TokenField field = CQXBASE::SplitTokenField(commands.Token());
    commands.SetToken(field.session);
    commands.SetTransaction(field.transaction);
    const sessions::Session session = sessions_.Require(CQXBASE::WideToUtf8(field.session));
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
