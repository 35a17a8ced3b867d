#include "adapter/manager_call.h"

#include <exception>
#include <new>

#include "adapter/cancellable_work.h"
#include "adapter/database_error.h"
#include "adapter/reported_work.h"
#include "util/out_of_memory.h"
#include "util/text.h"

namespace CQXDB::adapter {
namespace {

void RunAndSettle(Connection& connection, Cancellation* cancellation, CallReport* report,
                  const std::function<void(Connection&)>& work) {
    try {
        const CancellableWork running(cancellation, connection);
        const ReportedWork reported(connection, report);
        work(connection);
    } catch (const std::exception&) {
        connection.Rollback();
        CancellableWork::Check(cancellation);  // which is why the work failed, most likely
        throw;
    } catch (...) {
        connection.Rollback();
        throw;
    }
    if (connection.InTransaction()) {
        connection.Rollback();
        throw DatabaseError(DBMGR_OPEN_TRANSACTION,
                            "the command left a transaction open, which was rolled back: BEGIN and "
                            "COMMIT must stand in one script, or the commands in one command list");
    }
}

/// The exception being handled; a lack of memory goes on.
CallResult Describe() {
    try {
        throw;
    } catch (const DatabaseError& error) {
        // A database that fails without a code must not look like success.
        return {error.Code() != 0 ? error.Code() : DBMGR_UNEXPECTED,
                CQXBASE::Utf8ToWide(error.what())};
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        return {DBMGR_UNEXPECTED, CQXBASE::Utf8ToWide(error.what())};
    }
}

}  // namespace

CallResult CallManager(PoolRegistry& pools, const QXDataSource* dataSource, const std::string& user,
                       Cancellation* cancellation, CallReport* report,
                       const std::function<void(Connection&)>& work) {
    return Guarded([&] {
        if (dataSource == nullptr) {
            throw DatabaseError(DBMGR_NO_COMMAND, "no command or data source was given");
        }
        const Lease lease = pools.Take(*dataSource, user, cancellation);
        RunAndSettle(*lease, cancellation, report, work);
    });
}

CallResult CurrentFailure() noexcept {
    CallResult result;
    try {
        result = Describe();
    } catch (const std::bad_alloc&) {
        result.code = DBMGR_OUT_OF_MEMORY;
        CQXBASE::TellOutOfMemory(result.text);
    }
    return result;
}

}  // namespace CQXDB::adapter
