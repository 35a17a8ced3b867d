// The frame around every call of a manager: a connection from the pool, a clean end of its
// transaction, and errors as a code and a text.
#pragma once

#include <exception>
#include <functional>
#include <string>

#include <qxdb/Cancellation.h>
#include <qxdb/QXDataSource.h>

#include "adapter/connection.h"
#include "adapter/pool_registry.h"

namespace CQXDB::adapter {

struct CallResult {
    long code = 0;
    std::wstring text;
};

/// Runs `work` on a connection of the data source, for the user of ConnectionPool::Take. When it
/// fails, or leaves a transaction open, the connection is rolled back before it returns to the
/// pool. `cancellation` and `report` may be null. Lets no std::exception out. A `work` that wraps a
/// reference costs no memory.
CallResult CallManager(PoolRegistry& pools, const QXDataSource* dataSource, const std::string& user,
                       Cancellation* cancellation, CallReport* report,
                       const std::function<void(Connection&)>& work);

/// Inside a handler: the std::exception being handled as a result.
CallResult CurrentFailure() noexcept;

/// Turns what `step` throws into a result, for work that needs no connection.
template <typename Step>
CallResult Guarded(const Step& step) {
    try {
        step();
        return {};
    } catch (const std::exception&) {
        return CurrentFailure();
    }
}

}  // namespace CQXDB::adapter
