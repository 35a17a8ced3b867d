#include <memory>
#include <string>
#include <utility>

#include <qxdb/DBAgent.h>
#include <qxdb/DBMgrErrors.h>
#include <qxdb/DBMgrWithPOCO.h>

#include "agent/agent_transaction.h"
#include "agent/cancel_point.h"
#include "agent/lock_of.h"
#include "agent/shared_transport.h"
#include "agent/stamp.h"
#include "agent/told.h"
#include "messages/transaction_fields.h"
#include "util/text.h"

namespace CQXDB {
namespace {

void Tell(long& errCode, std::wstring& errText, const DBMgrBase& manager) {
    if (manager.errNumber() != 0) {
        errCode = manager.errNumber();
        errText = manager.errDesc();
    }
}

void Tell(long& errCode, std::wstring& errText, DBMgrError code, const wchar_t* text) {
    errCode = code;
    errText = text;
}

}  // namespace

bool DBAgent::InTransaction() const {
    return transaction_ != nullptr;
}

void DBAgent::Begin(long& errCode, std::wstring& errText, const QXTransactionInfo& info,
                    const std::wstring& db) {
    Told(errCode, errText, [&] {
        errCode = 0;
        errText.clear();
        if (InTransaction()) {
            Tell(errCode, errText, DBMGR_IN_TRANSACTION,
                 L"a transaction is under way: Commit or Rollback it first");
            return;
        }
        const CancelPoint::Call call(*cancelPoint_);
        begin_(errCode, errText, info, db, transaction_);
    });
}

/// `transaction` is null, and stays so when it fails.
void DBAgent::begin_(long& errCode, std::wstring& errText, const QXTransactionInfo& info,
                     const std::wstring& db, std::shared_ptr<AgentTransaction>& transaction) {
    notices_.clear();
    // Before it begins: nothing may fail between its beginning and its being known.
    auto begun = std::make_shared<AgentTransaction>(isLocal_, db);
    isLocal_ ? beginLocal_(errCode, errText, info, db, begun->id)
             : beginRemote_(errCode, errText, info, db, begun->id);
    if (errCode == 0) {
        transaction = std::move(begun);
    }
}

void DBAgent::beginLocal_(long& errCode, std::wstring& errText, const QXTransactionInfo& info,
                          const std::wstring& db, std::wstring& id) {
    QXDataSource dataSource = *dataSource_;
    dataSource.database = db.empty() ? dataSource.database : db;
    const auto begin = [&](auto manager) {
        manager->SetCancellation(cancelPoint_->Local());
        manager->Begin(&dataSource, info, id);
        Tell(errCode, errText, *manager);
    };
    useODBC_() ? begin(std::make_unique<DBMgrWithPOCO>()) : begin(std::make_unique<DBMgr>());
}

void DBAgent::beginRemote_(long& errCode, std::wstring& errText, const QXTransactionInfo& info,
                           const std::wstring& db, std::wstring& id) {
    QXCommand command(CQXBASE::Utf8ToWide(CQXBASE::BeginText(info)));
    Stamp(command, *dataSource_, db, token_, nullptr);
    command.SetTransaction(CQXBASE::VerbField(L"", CQXBASE::TransactionVerb::Begin));
    statusText_.clear();
    sentWhole_ = false;
    if (ExecuteRemote(errCode, errText, command) == -1 && sentWhole_) {
        dropConnection_();  // one may have begun whose identity was lost
    }
    id = std::exchange(statusText_, std::wstring());
    if (errCode == 0 && id.empty()) {
        Tell(errCode, errText, DBMGR_UNEXPECTED, L"the server began no transaction");
    }
}

/// The server rolls back what was begun on it.
void DBAgent::dropConnection_() {
    if (transport_ != nullptr) {
        const auto lock = LockOf(transport_->mutex);
        transport_->io.close_stream();
    }
}

void DBAgent::Commit(long& errCode, std::wstring& errText) {
    endOwn_(errCode, errText, true);
}

void DBAgent::Rollback(long& errCode, std::wstring& errText) {
    endOwn_(errCode, errText, false);
}

/// Whatever comes out of it, the transaction is not the agent's any more.
void DBAgent::endOwn_(long& errCode, std::wstring& errText, bool commit) {
    Told(errCode, errText, [&] {
        errCode = 0;
        errText.clear();
        const std::shared_ptr<AgentTransaction> transaction = std::move(transaction_);
        transaction_.reset();
        if (!transaction) {
            Tell(errCode, errText, DBMGR_TRANSACTION_OVER, L"no transaction was begun");
            return;
        }
        end_(errCode, errText, *transaction, commit);
    });
}

void DBAgent::end_(long& errCode, std::wstring& errText, AgentTransaction& transaction,
                   bool commit) {
    notices_.clear();
    if (transaction.local) {
        transaction.ended = true;
        DBMgr manager;
        commit ? manager.Commit(transaction.id) : manager.Rollback(transaction.id);
        Tell(errCode, errText, manager);
    } else {
        try {
            endRemote_(errCode, errText, transaction, commit);
        } catch (...) {
            dropConnection_();
            throw;
        }
    }
    if (!commit) {
        // Nothing of it is left, or will be when whoever has it meets the end of the connection.
        errCode = 0;
        errText.clear();
    }
}

void DBAgent::endRemote_(long& errCode, std::wstring& errText, const AgentTransaction& transaction,
                         bool commit) {
    QXCommand command(commit ? L"COMMIT" : L"ROLLBACK");
    Stamp(command, *dataSource_, transaction.db, token_, &transaction);
    command.SetTransaction(
        CQXBASE::VerbField(transaction.id, commit ? CQXBASE::TransactionVerb::Commit
                                                  : CQXBASE::TransactionVerb::Rollback));
    sentWhole_ = false;
    const int outcome = ExecuteRemote(errCode, errText, command);
    if (errCode == 0) {
        return;
    }
    dropConnection_();  // the refusal may be the request's, with the transaction still under way
    if (commit && outcome == -1 && sentWhole_) {
        errCode = DBMGR_OUTCOME_UNKNOWN;
        errText = L"whether the transaction was committed is unknown, since the answer was lost: " +
                  errText;
    }
}

}  // namespace CQXDB
