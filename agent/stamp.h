// What every command and list is stamped with before it runs.
#pragma once

#include <string>

#include <qxdb/QXDataSource.h>

#include "agent/agent_transaction.h"

namespace CQXDB {

/// `db` is empty for the data source's own; `transaction` may be null.
template <typename Work>
void Stamp(Work& work, const QXDataSource& dataSource, const std::wstring& db,
           const std::wstring& token, const AgentTransaction* transaction) {
    work.SetSysDataSrc(dataSource);
    if (!db.empty()) {
        work.SetDB(db);
    } else if (transaction != nullptr && !transaction->db.empty()) {
        work.SetDB(transaction->db);
    }
    work.SetToken(token);
    work.SetTransaction(transaction == nullptr ? std::wstring() : transaction->id);
}

}  // namespace CQXDB
