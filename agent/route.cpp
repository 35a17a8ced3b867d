#include <qxdb/DBAgent.h>

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

}  // namespace

void DBAgent::Execute(long& errCode, std::wstring& errText, QXCommand& cmd,
                      const std::wstring& db) {
    Told(errCode, errText, [&] {
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
        Stamp(errCode, errText, cmd, *dataSource_, db, token_);
        if (isLocal_) {
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
        Stamp(errCode, errText, list, *dataSource_, db, token_);
        if (isLocal_) {
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
