#include <qxdb/DBAgent.h>
#include <qxdb/DBMgr.h>
#include <qxdb/DBMgrErrors.h>
#include <qxdb/DBMgrWithPOCO.h>

#include "agent/cancel_point.h"
#include "agent/told.h"
#include "messages/transaction_fields.h"

namespace CQXDB {
namespace {

void SetPage(QXRecordset& rs, long pageSize, long pageNo) {
    rs.setPageSize(pageSize);
    rs.setCurrentPage(pageNo);
}

}  // namespace

/// Makes one call on a fresh manager and hands on what it has to tell.
template <typename Call>
void DBAgent::runLocal_(long& errCode, std::wstring& errText, const Call& call) {
    const auto run = [&](auto manager) {
        manager->SetCancellation(cancelPoint_->Local());
        call(*manager);
        if (manager->errNumber() != 0) {
            errCode = manager->errNumber();
            errText = manager->errDesc();
        }
        if (errCode == DBMGR_BAD_DATA_SOURCE && !token_.empty()) {
            errText +=
                L" The agent is logged in to a server but works locally: SetIsLocal(false) "
                L"sends commands there.";
        }
        notices_ = manager->Notices();
    };
    if (useODBC_()) {
        DBMgrWithPOCO manager;
        run(&manager);
    } else {
        DBMgr manager;
        run(&manager);
    }
}

void DBAgent::ExecuteLocal(long& errCode, std::wstring& errText, QXCommand& cmd) {
    runLocal_(errCode, errText, [&](auto& manager) { manager.Execute(&cmd); });
}

void DBAgent::ExecuteLocal(long& errCode, std::wstring& errText, QXCommandList& list) {
    runLocal_(errCode, errText, [&](auto& manager) { manager.Execute(&list); });
}

void DBAgent::OpenQueryLocal(long& errCode, std::wstring& errText, QXCommand& cmd, QXRecordset& rs,
                             long pageSize, long pageNo) {
    SetPage(rs, pageSize, pageNo);
    runLocal_(errCode, errText, [&](auto& manager) { manager.OpenQuery(&cmd, rs); });
}

void DBAgent::OpenQueryLocal(long& errCode, std::wstring& errText, QXCommandList& list,
                             QXRecordset& rs, long pageSize, long pageNo) {
    SetPage(rs, pageSize, pageNo);
    runLocal_(errCode, errText, [&](auto& manager) { manager.OpenQuery(&list, rs); });
}

void DBAgent::BatchQryLocal(long& errCode, std::wstring& errText, QXCommandList& list,
                            QXRsList& out) {
    runLocal_(errCode, errText, [&](auto& manager) { manager.BatchQry(&list, out); });
}

void DBAgent::describeLocal_(long& errCode, std::wstring& errText, QXCommand& cmd,
                             std::vector<QXColumnInfo>& columns) {
    runLocal_(errCode, errText, [&](auto& manager) { manager.Describe(&cmd, columns); });
}

void DBAgent::cursorLocal_(long& errCode, std::wstring& errText, CQXBASE::TransactionVerb verb,
                           QXCommand& cmd, long number, QXRecordset* rs) {
    runLocal_(errCode, errText, [&](auto& manager) {
        if (rs != nullptr) {
            manager.FetchCursor(&cmd, number, *rs);
        } else if (verb == CQXBASE::TransactionVerb::OpenCursor) {
            manager.OpenCursor(&cmd, number);
        } else {
            manager.CloseCursor(&cmd, number);
        }
    });
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
        runLocal_(errCode_, errText_,
                  [&](auto& manager) { answer = manager.CanConnect(dataSource_); });
    });
    return answer && errCode_ == 0;
}

void DBAgent::CloseConn() {
    long errCode = 0;
    std::wstring errText;
    Told(errCode, errText,
         [&] { runLocal_(errCode, errText, [](auto& manager) { manager.CloseConn(); }); });
}

}  // namespace CQXDB
