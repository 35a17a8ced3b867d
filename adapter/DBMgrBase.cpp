#include <qxdb/DBMgrBase.h>

#include "adapter/manager_call.h"
#include "adapter/open_transactions.h"
#include "adapter/pool_registry.h"
#include "adapter/work.h"

namespace CQXDB {

void DBMgrBase::Run(const QXDataSource* dataSource, const Work& work) {
    Leave(adapter::CallManager(pools_(), dataSource, sessionUser_, cancellation_, work));
}

void DBMgrBase::Run(const QXCommandBase* commands, bool list, const Work& work) {
    if (commands == nullptr || commands->Transaction().empty()) {
        Run(commands == nullptr ? nullptr : &commands->SysDataSrc(), work);
        return;
    }
    Leave(adapter::Guarded([&] {
        adapter::OpenTransactions::Instance()
            .Find(commands->Transaction())
            ->Run({pools_(), sessionUser_, cancellation_, list}, commands->SysDataSrc(), work);
    }));
}

void DBMgrBase::Begin(QXDataSource* dataSource, const QXTransactionInfo& info, std::wstring& id) {
    id.clear();
    if (dataSource == nullptr) {
        Run(nullptr, [](adapter::Connection&) {});
        return;
    }
    Leave(adapter::Guarded([&] {
        id = adapter::OpenTransactions::Instance().Begin(
            {pools_(), sessionUser_, cancellation_, false}, *dataSource, info);
    }));
}

void DBMgrBase::Commit(const std::wstring& id) {
    Leave(adapter::Guarded([&] { adapter::OpenTransactions::Instance().Take(id)->Commit(); }));
}

void DBMgrBase::Rollback(const std::wstring& id) {
    Leave(adapter::Guarded([&] { adapter::OpenTransactions::Instance().Take(id)->Rollback(); }));
}

void DBMgrBase::Abandon(const std::wstring& id) noexcept {
    Leave(adapter::Guarded([&] { adapter::OpenTransactions::Instance().Take(id); }));
}

void DBMgrBase::Leave(adapter::CallResult result) noexcept {
    errNumber_ = result.code;
    errDesc_ = std::move(result.text);
}

bool DBMgrBase::CanConnect(QXDataSource* dataSource) {
    Run(dataSource, [](adapter::Connection&) {});
    return errNumber_ == 0;
}

void DBMgrBase::Execute(QXCommand* command) {
    const auto work = [&](auto& connection) { adapter::Execute(connection, *command); };
    Run(command, false, std::cref(work));
}

void DBMgrBase::Execute(QXCommandList* list) {
    const auto work = [&](auto& connection) { adapter::Execute(connection, *list, cancellation_); };
    Run(list, true, std::cref(work));
}

void DBMgrBase::OpenQuery(QXCommand* command, QXRecordset& rs) {
    rs.Clear();
    const auto work = [&](auto& connection) {
        adapter::OpenQuery(connection, *command, rs, maxResultBytes_, rowSink_);
    };
    Run(command, false, std::cref(work));
    if (errNumber_ != 0) {
        rs.Clear();
    }
}

void DBMgrBase::OpenQuery(QXCommandList* list, QXRecordset& rs) {
    rs.Clear();
    const auto work = [&](auto& connection) {
        adapter::OpenQuery(connection, *list, rs, maxResultBytes_, cancellation_);
    };
    Run(list, true, std::cref(work));
    if (errNumber_ != 0) {
        rs.Clear();
    }
}

void DBMgrBase::BatchQry(QXCommandList* list, QXRsList& out) {
    const auto work = [&](auto& connection) {
        adapter::BatchQry(connection, *list, out, maxResultBytes_, cancellation_);
    };
    Run(list, true, std::cref(work));
    if (errNumber_ != 0) {
        out.RemoveAll();
    }
}

void DBMgrBase::CloseConn() {
    Leave(adapter::Guarded([this] { pools_().CloseIdle(); }));
}

void DBMgrBase::CloseExpiredConn() {
    Leave(adapter::Guarded([this] { pools_().CloseExpired(); }));
}

}  // namespace CQXDB
