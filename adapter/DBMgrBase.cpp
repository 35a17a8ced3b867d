#include <functional>
#include <utility>

#include <qxdb/DBMgrBase.h>

#include "adapter/manager_call.h"
#include "adapter/open_transactions.h"
#include "adapter/pool_registry.h"
#include "adapter/work.h"

namespace CQXDB {

using adapter::OpenTransactions;
using adapter::TransactionCall;

template <typename Call>
void DBMgrBase::Reported(const Call& call) {
    adapter::CallReport report;
    Leave(call(report));
    notices_ = std::move(report.notices);
}

template <typename Work>
void DBMgrBase::Run(const QXCommandBase* commands, bool list, const Work& work) {
    Reported([&](adapter::CallReport& report) {
        const auto on = [&](adapter::Connection& connection) { work(connection); };
        if (commands == nullptr || commands->Transaction().empty()) {
            return adapter::CallManager(pools_(),
                                        commands == nullptr ? nullptr : &commands->SysDataSrc(),
                                        sessionUser_, cancellation_, &report, std::cref(on));
        }
        return adapter::Guarded([&] {
            OpenTransactions::Instance()
                .Find(commands->Transaction())
                ->Run({pools_(), sessionUser_, cancellation_, &report, list},
                      commands->SysDataSrc(), std::cref(on));
        });
    });
}

/// `work` gets the transaction that the command belongs to and how to call it.
template <typename Work>
void DBMgrBase::OnTransaction(const QXCommand* command, const Work& work) {
    if (command == nullptr) {
        CanConnect(nullptr);
        return;
    }
    Reported([&](adapter::CallReport& report) {
        return adapter::Guarded([&] {
            work(*OpenTransactions::Instance().Find(command->Transaction()),
                 {pools_(), sessionUser_, cancellation_, &report, false});
        });
    });
}

void DBMgrBase::Begin(QXDataSource* dataSource, const QXTransactionInfo& info, std::wstring& id) {
    id.clear();
    if (dataSource == nullptr) {
        CanConnect(nullptr);
        return;
    }
    Reported([&](adapter::CallReport& report) {
        return adapter::Guarded([&] {
            id = OpenTransactions::Instance().Begin(
                {pools_(), sessionUser_, cancellation_, &report, false}, *dataSource, info);
        });
    });
}

void DBMgrBase::Commit(const std::wstring& id) {
    Leave(adapter::Guarded([&] { OpenTransactions::Instance().Take(id)->Commit(); }));
}

void DBMgrBase::Rollback(const std::wstring& id) {
    Leave(adapter::Guarded([&] { OpenTransactions::Instance().Take(id)->Rollback(); }));
}

void DBMgrBase::Abandon(const std::wstring& id) noexcept {
    Leave(adapter::Guarded([&] { OpenTransactions::Instance().Take(id); }));
}

void DBMgrBase::OpenCursor(QXCommand* command, long cursor) {
    OnTransaction(command, [&](auto& transaction, const TransactionCall& call) {
        transaction.OpenCursor(call, *command, cursor);
    });
}

void DBMgrBase::FetchCursor(QXCommand* command, long cursor, QXRecordset& rs) {
    rs.Clear();
    OnTransaction(command, [&](auto& transaction, const TransactionCall& call) {
        transaction.FetchCursor(call, *command, cursor, rs, maxResultBytes_);
    });
    if (errNumber_ != 0) {
        rs.Clear();
    }
}

void DBMgrBase::CloseCursor(QXCommand* command, long cursor) {
    OnTransaction(command, [&](auto& transaction, const TransactionCall& call) {
        transaction.CloseCursor(call, *command, cursor);
    });
}

void DBMgrBase::Leave(adapter::CallResult result) noexcept {
    errNumber_ = result.code;
    errDesc_ = std::move(result.text);
    notices_.clear();
}

bool DBMgrBase::CanConnect(QXDataSource* dataSource) {
    const std::function<void(adapter::Connection&)> nothing = [](adapter::Connection&) {};
    Reported([&](adapter::CallReport& report) {
        return adapter::CallManager(pools_(), dataSource, sessionUser_, cancellation_, &report,
                                    nothing);
    });
    return errNumber_ == 0;
}

void DBMgrBase::Execute(QXCommand* command) {
    QXCountList counts;
    Run(command, false, [&](auto& connection) { adapter::Execute(connection, *command, counts); });
    Count(command, std::move(counts));
}

void DBMgrBase::Execute(QXCommandList* list) {
    QXCountList counts;
    Run(list, true,
        [&](auto& connection) { adapter::Execute(connection, *list, cancellation_, counts); });
    Count(list, std::move(counts));
}

void DBMgrBase::Count(QXCommandBase* commands, QXCountList counts) noexcept {
    if (commands != nullptr) {
        commands->SetCounts(errNumber_ == 0 ? std::move(counts) : QXCountList());
    }
}

void DBMgrBase::OpenQuery(QXCommand* command, QXRecordset& rs) {
    rs.Clear();
    Run(command, false, [&](auto& connection) {
        adapter::OpenQuery(connection, *command, rs, maxResultBytes_, rowSink_);
    });
    if (errNumber_ != 0) {
        rs.Clear();
    }
}

void DBMgrBase::OpenQuery(QXCommandList* list, QXRecordset& rs) {
    rs.Clear();
    Run(list, true, [&](auto& connection) {
        adapter::OpenQuery(connection, *list, rs, maxResultBytes_, cancellation_);
    });
    if (errNumber_ != 0) {
        rs.Clear();
    }
}

void DBMgrBase::BatchQry(QXCommandList* list, QXRsList& out) {
    Run(list, true, [&](auto& connection) {
        adapter::BatchQry(connection, *list, out, maxResultBytes_, cancellation_);
    });
    if (errNumber_ != 0) {
        out.RemoveAll();
    }
}

void DBMgrBase::Describe(QXCommand* command, std::vector<QXColumnInfo>& columns) {
    columns.clear();
    Run(command, false,
        [&](auto& connection) { columns = adapter::Describe(connection, *command); });
}

void DBMgrBase::CloseConn() {
    Leave(adapter::Guarded([this] { pools_().CloseIdle(); }));
}

void DBMgrBase::CloseExpiredConn() {
    Leave(adapter::Guarded([this] { pools_().CloseExpired(); }));
}

}  // namespace CQXDB
