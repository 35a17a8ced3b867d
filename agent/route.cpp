#include <cstdint>
#include <string>

#include <qxdb/DBAgent.h>
#include <qxdb/DBMgrErrors.h>

#include "agent/cancel_point.h"
#include "agent/told.h"

namespace CQXDB {
namespace {

/// Resets the error arguments, then puts data source, database and token on a command or a list.
template <typename Work>
void Stamp(long& errCode, std::wstring& errText, Work& work, const QXDataSource& dataSource,
           const std::wstring& db, const std::wstring& token) {
    errCode = 0;
    errText.clear();
    work.SetSysDataSrc(dataSource);
    if (!db.empty()) {
        work.SetDB(db);
    }
    work.SetToken(token);
}

template <typename Work>
void StampPage(Work& work, long pageSize, long pageNo) {
    work.SetPageSize(pageSize);
    work.SetPageNo(pageNo);
}

/// Pages travel, and are kept, as 32-bit numbers.
bool TakesPage(long& errCode, std::wstring& errText, long pageSize, long pageNo) {
    const auto fits = [](long number) { return static_cast<std::int32_t>(number) == number; };
    if (fits(pageSize) && fits(pageNo)) {
        return true;
    }
    errCode = DBMGR_BAD_PAGE;
    errText = L"page size and page number have at most 32 bits, unlike " +
              std::to_wstring(pageSize) + L" and " + std::to_wstring(pageNo) + L".";
    return false;
}

/// A query that fails leaves an empty recordset locally, and the caller's as it was remotely.
void ClearIf(bool local, QXRecordset& rs) {
    if (local) {
        rs.Clear();
    }
}

}  // namespace

void DBAgent::Execute(long& errCode, std::wstring& errText, QXCommand& cmd,
                      const std::wstring& db) {
    Told(errCode, errText, [&] {
        const CancelPoint::Call call(*cancelPoint_);
        Stamp(errCode, errText, cmd, *dataSource_, db, token_);
        if (isLocal_) {
            ExecuteLocal(errCode, errText, cmd);
        } else {
            ExecuteRemote(errCode, errText, cmd);
        }
    });
}

void DBAgent::Execute(long& errCode, std::wstring& errText, QXCommandList& list,
                      const std::wstring& db) {
    Told(errCode, errText, [&] {
        const CancelPoint::Call call(*cancelPoint_);
        Stamp(errCode, errText, list, *dataSource_, db, token_);
        if (isLocal_) {
            ExecuteLocal(errCode, errText, list);
        } else {
            ExecuteRemote(errCode, errText, list);
        }
    });
}

void DBAgent::OpenQuery(long& errCode, std::wstring& errText, QXCommand& cmd, QXRecordset& rs,
                        long pageSize, long pageNo, const std::wstring& db) {
    Told(errCode, errText, [&] {
        const CancelPoint::Call call(*cancelPoint_);
        Stamp(errCode, errText, cmd, *dataSource_, db, token_);
        if (!TakesPage(errCode, errText, pageSize, pageNo)) {
            ClearIf(isLocal_, rs);
        } else if (isLocal_) {
            OpenQueryLocal(errCode, errText, cmd, rs, pageSize, pageNo);
        } else {
            StampPage(cmd, pageSize, pageNo);
            OpenQueryRemote(errCode, errText, cmd, rs, pageSize, pageNo);
        }
    });
}

void DBAgent::OpenQuery(long& errCode, std::wstring& errText, QXCommandList& list, QXRecordset& rs,
                        long pageSize, long pageNo, const std::wstring& db) {
    Told(errCode, errText, [&] {
        const CancelPoint::Call call(*cancelPoint_);
        Stamp(errCode, errText, list, *dataSource_, db, token_);
        if (!TakesPage(errCode, errText, pageSize, pageNo)) {
            ClearIf(isLocal_, rs);
        } else if (isLocal_) {
            OpenQueryLocal(errCode, errText, list, rs, pageSize, pageNo);
        } else {
            StampPage(list, pageSize, pageNo);
            OpenQueryRemote(errCode, errText, list, rs, pageSize, pageNo);
        }
    });
}

void DBAgent::BatchQry(long& errCode, std::wstring& errText, QXCommandList& list, QXRsList& out,
                       const std::wstring& db) {
    Told(errCode, errText, [&] {
        const CancelPoint::Call call(*cancelPoint_);
        out.RemoveAll();
        Stamp(errCode, errText, list, *dataSource_, db, token_);
        if (isLocal_) {
            BatchQryLocal(errCode, errText, list, out);
        } else {
            BatchQryRemote(errCode, errText, list, out);
        }
    });
}

}  // namespace CQXDB
