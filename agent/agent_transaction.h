// The transaction that an agent is in.
#pragma once

#include <string>

#include <qxdb/DBMgr.h>

namespace CQXDB {

/// Shared by the copies of an agent. A local one that nobody has ended is rolled back with the last
/// of them; the server's ends with the connection.
struct AgentTransaction {
    AgentTransaction(bool isLocal, std::wstring newDb) : local(isLocal), db(std::move(newDb)) {}
    ~AgentTransaction() {
        if (local && !ended && !id.empty()) {
            DBMgr().Abandon(id);
        }
    }
    AgentTransaction(const AgentTransaction&) = delete;
    AgentTransaction& operator=(const AgentTransaction&) = delete;

    std::wstring id;  ///< empty until it has begun
    const bool local;
    const std::wstring db;  ///< as it was named to Begin
    bool ended = false;
};

}  // namespace CQXDB
