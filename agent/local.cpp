#include <qxdb/DBAgent.h>
#include <qxdb/DBMgr.h>
#include <qxdb/DBMgrWithPOCO.h>

#include "agent/cancel_point.h"
#include "agent/told.h"

namespace CQXDB {
namespace {

template <typename Manager, typename Call>
void RunOn(Cancellation* cancellation, long& errCode, std::wstring& errText, const Call& call) {
    Manager manager;
    manager.SetCancellation(cancellation);
    call(manager);
    if (manager.errNumber() != 0) {
        errCode = manager.errNumber();
        errText = manager.errDesc();
    }
}

/// Makes one call on a fresh manager and hands its error on.
template <typename Call>
void RunLocal(bool throughPoco, Cancellation* cancellation, long& errCode, std::wstring& errText,
              const Call& call) {
    if (throughPoco) {
        RunOn<DBMgrWithPOCO>(cancellation, errCode, errText, call);
    } else {
        RunOn<DBMgr>(cancellation, errCode, errText, call);
    }
}

void SetPage(QXRecordset& rs, long pageSize, long pageNo) {
    rs.setPageSize(pageSize);
    rs.setCurrentPage(pageNo);
}

}  // namespace

void DBAgent::ExecuteLocal(long& errCode, std::wstring& errText, QXCommand& cmd) {
    RunLocal(useODBC_(), cancelPoint_->Local(), errCode, errText,
             [&](auto& manager) { manager.Execute(&cmd); });
}

void DBAgent::ExecuteLocal(long& errCode, std::wstring& errText, QXCommandList& list) {
    RunLocal(useODBC_(), cancelPoint_->Local(), errCode, errText,
             [&](auto& manager) { manager.Execute(&list); });
}

void DBAgent::OpenQueryLocal(long& errCode, std::wstring& errText, QXCommand& cmd, QXRecordset& rs,
                             long pageSize, long pageNo) {
    SetPage(rs, pageSize, pageNo);
    RunLocal(useODBC_(), cancelPoint_->Local(), errCode, errText,
             [&](auto& manager) { manager.OpenQuery(&cmd, rs); });
}

void DBAgent::OpenQueryLocal(long& errCode, std::wstring& errText, QXCommandList& list,
                             QXRecordset& rs, long pageSize, long pageNo) {
    SetPage(rs, pageSize, pageNo);
    RunLocal(useODBC_(), cancelPoint_->Local(), errCode, errText,
             [&](auto& manager) { manager.OpenQuery(&list, rs); });
}

void DBAgent::BatchQryLocal(long& errCode, std::wstring& errText, QXCommandList& list,
                            QXRsList& out) {
    RunLocal(useODBC_(), cancelPoint_->Local(), errCode, errText,
             [&](auto& manager) { manager.BatchQry(&list, out); });
}

bool DBAgent::CanConnect(CQXDB_DSType_ENUM type, const std::wstring& server, long port,
                         const std::wstring& database, const std::wstring& user,
                         const std::wstring& password, bool trusted, CQXDB_DriverType_ENUM driver,
                         const std::wstring& driverName, const std::wstring& dsn,
                         const std::wstring& connectionString, const std::wstring& extra) {
    bool answer = false;
    Told(errCode_, errText_, [&] {
        myRaiseError(0, L"");
        dataSource_->init(L"", type, server, port, database, user, password, trusted, std::string(),
                          1);
        dataSource_->initDriver(driver, driverName, dsn, connectionString, extra);
        RunLocal(useODBC_(), cancelPoint_->Local(), errCode_, errText_,
                 [&](auto& manager) { answer = manager.CanConnect(dataSource_); });
    });
    return answer && errCode_ == 0;
}

void DBAgent::CloseConn() {
    long errCode = 0;
    std::wstring errText;
    Told(errCode, errText, [&] {
        RunLocal(useODBC_(), cancelPoint_->Local(), errCode, errText,
                 [](auto& manager) { manager.CloseConn(); });
    });
}

}  // namespace CQXDB
