// What an open cursor knows.
#pragma once

#include <memory>

#include <qxdb/QXCursor.h>

#include "agent/agent_transaction.h"

namespace CQXDB {

struct QXCursor::State {
    DBAgent& agent;
    std::shared_ptr<AgentTransaction> transaction;
    long number;
    bool ownTransaction;  ///< which ends with it
};

}  // namespace CQXDB
