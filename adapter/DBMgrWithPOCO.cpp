#include <qxdb/DBMgrWithPOCO.h>

#include "adapter/manager_call.h"
#include "adapter/poco_pools.h"
#include "adapter/work.h"

namespace CQXDB {
namespace {

adapter::PoolRegistry& Pools() {
    static adapter::PoolRegistry pools(adapter::MakePocoPool, adapter::ChangesDatabase);
    return pools;
}

template <typename Commands>
const QXDataSource* DataSourceOf(const Commands* commands) {
    return commands == nullptr ? nullptr : &commands->SysDataSrc();
}

}  // namespace

DBMgrWithPOCO::DBMgrWithPOCO() = default;
DBMgrWithPOCO::~DBMgrWithPOCO() = default;

void DBMgrWithPOCO::Run(const QXDataSource* dataSource,
                        const std::function<void(adapter::Connection&)>& work) {
    adapter::CallResult result = adapter::CallManager(Pools(), dataSource, sessionUser_, work);
    errNumber_ = result.code;
    errDesc_ = std::move(result.text);
}

bool DBMgrWithPOCO::CanConnect(QXDataSource* dataSource) {
    Run(dataSource, [](adapter::Connection&) {});
    return errNumber_ == 0;
}

void DBMgrWithPOCO::Execute(QXCommand* command) {
    const auto work = [&](auto& connection) { adapter::Execute(connection, *command); };
    Run(DataSourceOf(command), std::cref(work));
}

void DBMgrWithPOCO::Execute(QXCommandList* list) {
    const auto work = [&](auto& connection) { adapter::Execute(connection, *list); };
    Run(DataSourceOf(list), std::cref(work));
}

void DBMgrWithPOCO::OpenQuery(QXCommand* command, QXRecordset& rs) {
    rs.Clear();
    const auto work = [&](auto& connection) {
        adapter::OpenQuery(connection, *command, rs, maxResultBytes_, rowSink_);
    };
    Run(DataSourceOf(command), std::cref(work));
    if (errNumber_ != 0) {
        rs.Clear();
    }
}

void DBMgrWithPOCO::OpenQuery(QXCommandList* list, QXRecordset& rs) {
    rs.Clear();
    const auto work = [&](auto& connection) {
        adapter::OpenQuery(connection, *list, rs, maxResultBytes_);
    };
    Run(DataSourceOf(list), std::cref(work));
    if (errNumber_ != 0) {
        rs.Clear();
    }
}

void DBMgrWithPOCO::BatchQry(QXCommandList* list, QXRsList& out) {
    const auto work = [&](auto& connection) {
        adapter::BatchQry(connection, *list, out, maxResultBytes_);
    };
    Run(DataSourceOf(list), std::cref(work));
    if (errNumber_ != 0) {
        out.RemoveAll();
    }
}

void DBMgrWithPOCO::CloseConn() {
    adapter::CallResult result = adapter::Guarded([] { Pools().CloseIdle(); });
    errNumber_ = result.code;
    errDesc_ = std::move(result.text);
}

}  // namespace CQXDB
