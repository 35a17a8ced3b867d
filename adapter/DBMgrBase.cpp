#include <qxdb/DBMgrBase.h>

#include "adapter/manager_call.h"
#include "adapter/pool_registry.h"
#include "adapter/work.h"

namespace CQXDB {
namespace {

template <typename Commands>
const QXDataSource* DataSourceOf(const Commands* commands) {
    return commands == nullptr ? nullptr : &commands->SysDataSrc();
}

}  // namespace

void DBMgrBase::Run(const QXDataSource* dataSource,
                    const std::function<void(adapter::Connection&)>& work) {
    Leave(adapter::CallManager(pools_(), dataSource, sessionUser_, cancellation_, work));
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
    Run(DataSourceOf(command), std::cref(work));
}

void DBMgrBase::Execute(QXCommandList* list) {
    const auto work = [&](auto& connection) { adapter::Execute(connection, *list, cancellation_); };
    Run(DataSourceOf(list), std::cref(work));
}

void DBMgrBase::OpenQuery(QXCommand* command, QXRecordset& rs) {
    rs.Clear();
    const auto work = [&](auto& connection) {
        adapter::OpenQuery(connection, *command, rs, maxResultBytes_, rowSink_);
    };
    Run(DataSourceOf(command), std::cref(work));
    if (errNumber_ != 0) {
        rs.Clear();
    }
}

void DBMgrBase::OpenQuery(QXCommandList* list, QXRecordset& rs) {
    rs.Clear();
    const auto work = [&](auto& connection) {
        adapter::OpenQuery(connection, *list, rs, maxResultBytes_, cancellation_);
    };
    Run(DataSourceOf(list), std::cref(work));
    if (errNumber_ != 0) {
        rs.Clear();
    }
}

void DBMgrBase::BatchQry(QXCommandList* list, QXRsList& out) {
    const auto work = [&](auto& connection) {
        adapter::BatchQry(connection, *list, out, maxResultBytes_, cancellation_);
    };
    Run(DataSourceOf(list), std::cref(work));
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
