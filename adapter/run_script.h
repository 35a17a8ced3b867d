// Several statements in one text.
#pragma once

#include <string_view>
#include <vector>

#include "adapter/connection.h"
#include "adapter/statement_text.h"

namespace CQXDB::adapter {

/// True for a script that is not to be made a transaction: it is in one, or has its own.
inline bool RunsAsItStands(Connection& connection, const std::vector<std::string_view>& script) {
    return connection.InTransaction() || HoldsTransactionControl(script, connection.Dialect());
}

/// Calls `run`, which runs the script, in a transaction where it wants one.
template <typename Run>
void RunScript(Connection& connection, const std::vector<std::string_view>& script, Run run) {
    const bool wrap = script.size() > 1 && !RunsAsItStands(connection, script);
    if (wrap) {
        connection.Begin(TransactionKind::Write);
    }
    run();
    if (wrap) {
        connection.Commit();
    }
}

}  // namespace CQXDB::adapter
