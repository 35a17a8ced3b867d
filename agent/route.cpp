#include <cstdint>
#include <string>
#include <utility>

#include <qxdb/DBAgent.h>
#include <qxdb/DBMgrErrors.h>

#include "agent/cancel_point.h"
#include "agent/stamp.h"
#include "agent/told.h"

namespace CQXDB {
namespace {

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

/// Resets the error arguments and stamps the work; false when it can't be run.
template <typename Work>
bool DBAgent::prepare_(long& errCode, std::wstring& errText, Work& work, const std::wstring& db) {
    errCode = 0;
    errText.clear();
    notices_.clear();
    work.SetCounts({});
    Stamp(work, *dataSource_, db, token_, transaction_.get());
    return transaction_ == nullptr || sameRoute_(errCode, errText, *transaction_);
}

bool DBAgent::sameRoute_(long& errCode, std::wstring& errText,
                         const AgentTransaction& transaction) const {
    if (transaction.local == isLocal_) {
        return true;
    }
    errCode = DBMGR_OTHER_DATABASE;
    errText = transaction.local ? L"the agent works remotely, and its transaction is local"
                                : L"the agent works locally, and its transaction is remote";
    return false;
}

void DBAgent::Execute(long& errCode, std::wstring& errText, QXCommand& cmd,
                      const std::wstring& db) {
    Told(errCode, errText, [&] {
        const CancelPoint::Call call(*cancelPoint_);
        if (!prepare_(errCode, errText, cmd, db)) {
            return;
        }
        if (isLocal_) {
            ExecuteLocal(errCode, errText, cmd);
        } else if (ExecuteRemote(errCode, errText, cmd) == 0) {
            cmd.SetCounts(std::move(replyCounts_));
        }
    });
}

void DBAgent::Execute(long& errCode, std::wstring& errText, QXCommandList& list,
                      const std::wstring& db) {
    Told(errCode, errText, [&] {
        const CancelPoint::Call call(*cancelPoint_);
        if (!prepare_(errCode, errText, list, db)) {
            return;
        }
        if (isLocal_) {
            ExecuteLocal(errCode, errText, list);
        } else if (ExecuteRemote(errCode, errText, list) == 0) {
            list.SetCounts(std::move(replyCounts_));
        }
    });
}

void DBAgent::OpenQuery(long& errCode, std::wstring& errText, QXCommand& cmd, QXRecordset& rs,
                        long pageSize, long pageNo, const std::wstring& db) {
    Told(errCode, errText, [&] {
        const CancelPoint::Call call(*cancelPoint_);
        if (!prepare_(errCode, errText, cmd, db) ||
            !TakesPage(errCode, errText, pageSize, pageNo)) {
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
        if (!prepare_(errCode, errText, list, db) ||
            !TakesPage(errCode, errText, pageSize, pageNo)) {
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
        if (!prepare_(errCode, errText, list, db)) {
            return;
        }
        if (isLocal_) {
            BatchQryLocal(errCode, errText, list, out);
        } else {
            BatchQryRemote(errCode, errText, list, out);
        }
    });
}

void DBAgent::DescribeQuery(long& errCode, std::wstring& errText, QXCommand& cmd,
                            std::vector<QXColumnInfo>& columns, const std::wstring& db) {
    Told(errCode, errText, [&] {
        const CancelPoint::Call call(*cancelPoint_);
        columns.clear();
        if (!prepare_(errCode, errText, cmd, db)) {
            return;
        }
        isLocal_ ? describeLocal_(errCode, errText, cmd, columns)
                 : describeRemote_(errCode, errText, cmd, columns);
    });
}

}  // namespace CQXDB
