#include "server/requests/command_service.h"

#include <utility>

#include <qxdb/DBMgrErrors.h>

#include "messages/column_rows.h"
#include "messages/reply_details.h"
#include "messages/session_records.h"
#include "messages/transaction_fields.h"
#include "messages/type_codes.h"
#include "server/requests/streamed_reply.h"
#include "server/server_error.h"
#include "util/text.h"

namespace CQXSERVER::requests {
using namespace CQXDB;
using CQXBASE::TransactionVerb;

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

network::Outcome CommandService::Control(const network::Request& request, QXCommand& command,
                                         TransactionVerb verb) {
    const Caller caller = Authorize(request, command);
    const RunningCommands::Entry entry(running_, CQXBASE::WideToUtf8(command.Token()),
                                       request.cancellation);
    const TransactionOwner owner{CQXBASE::WideToUtf8(command.Token()), caller.account,
                                 request.connection};
    const bool rows = verb == TransactionVerb::FetchCursor || verb == TransactionVerb::Describe;
    if (verb == TransactionVerb::Unknown ||
        request.Code() != (rows ? CQXBASE::kQuery : CQXBASE::kExecute)) {
        throw RequestRefused(ServerError::UndecodableBody);
    }
    if (rows) {
        return Rows(request, caller, command, verb);
    }
    if (verb == TransactionVerb::Begin) {
        return Begin(request, owner, caller, command);
    }
    DatabaseAnswer answer = Transactions::Over();
    if (verb == TransactionVerb::Commit || verb == TransactionVerb::Rollback) {
        answer = End(owner, command, verb);
    } else if (!command.Transaction().empty()) {
        answer = Within(request, caller, command, [&] {
            return verb == TransactionVerb::OpenCursor ? OpenCursor(caller, command)
                                                       : CloseCursor(caller, command);
        });
    }
    CQXBASE::QXSimpleMsg status(std::wstring(), 0);
    return Reply(request, answer, status, command);
}

network::Outcome CommandService::Begin(const network::Request& request,
                                       const TransactionOwner& owner, const Caller& caller,
                                       QXCommand& command) {
    const auto info = CQXBASE::ParseBeginText(command.TextUtf8());
    if (!info) {
        throw RequestRefused(ServerError::UndecodableBody);
    }
    std::wstring id;
    const DatabaseAnswer answer =
        transactions_.Begin(owner, caller, command.SysDataSrc(), *info, id);
    try {
        CQXBASE::QXSimpleMsg status(id, 0);
        return Reply(request, answer, status, command);
    } catch (...) {
        transactions_.End(id);  // nobody gets to know it
        throw;
    }
}

DatabaseAnswer CommandService::End(const TransactionOwner& owner, const QXCommand& command,
                                   TransactionVerb verb) {
    Transactions::Use use(transactions_, owner, command.Transaction());
    if (!use) {
        return Transactions::Over();
    }
    use.End();
    return verb == TransactionVerb::Commit ? Commit(command.Transaction())
                                           : Rollback(command.Transaction());
}

/// Answers with a recordset: a cursor's next portion, or a description.
network::Outcome CommandService::Rows(const network::Request& request, const Caller& caller,
                                      QXCommand& command, TransactionVerb verb) {
    QXRecordset rs;
    std::vector<QXColumnInfo> columns;
    DatabaseAnswer answer = Transactions::Over();
    if (verb == TransactionVerb::Describe) {
        answer =
            Within(request, caller, command, [&] { return Describe(caller, command, columns); });
        CQXBASE::WriteColumnRows(columns, rs);
    } else if (!command.Transaction().empty()) {
        answer = Within(request, caller, command,
                        [&] { return FetchCursor(caller, command, rs, maxResultBytes_); });
    }
    return Reply(request, answer, rs, command);
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
        return Reply(request, answer, status, commands);
    }
    QXRecordset rs;
    StreamedReply streamed(encoder_, request.Enciphered());
    DatabaseAnswer answer = Within(request, caller, commands, [&] {
        return Query(caller, commands, rs, maxResultBytes_, streamed.Sink());
    });
    if (streamed.Begun() && answer.code == 0) {
        network::Outcome outcome;
        outcome.token = CQXBASE::WideToUtf8(commands.Token());
        outcome.reply =
            streamed.Finish(request.Code(), std::move(rs), {{}, std::move(answer.notices)});
        return outcome;
    }
    streamed.Check();
    return Reply(request, answer, rs, commands);
}

network::Outcome CommandService::Batch(const network::Request& request, QXCommandList& list) {
    const Caller caller = Authorize(request, list);
    const RunningCommands::Entry entry(running_, CQXBASE::WideToUtf8(list.Token()),
                                       request.cancellation);
    QXRsList results;
    const DatabaseAnswer answer = Within(request, caller, list, [&] {
        return requests::Batch(caller, list, results, maxResultBytes_);
    });
    return Reply(request, answer, results, list);
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
                                       const QXCommandBase& commands) const {
    if (answer.code == DBMGR_RESULT_TOO_LARGE) {
        throw RequestRefused(ServerError::ResultTooLarge);
    }
    const CQXBASE::ReplyDetails details{commands.Counts(), answer.notices};
    CQXBASE::DetailedRecord detailed(record, details);
    network::Outcome outcome;
    outcome.token = CQXBASE::WideToUtf8(commands.Token());
    outcome.reply =
        answer.code == 0
            ? encoder_.Encode(request.Code(), detailed, request.Enciphered())
            : encoder_.EncodeError(answer.code, answer.text, request.Enciphered(), details);
    return outcome;
}

}  // namespace CQXSERVER::requests
