// Sending commands without waiting for each: a list costs as many round trips as it has batches.
#include <algorithm>
#include <utility>

#include "adapter/postgresql/connection.h"
#include "adapter/postgresql/errors.h"
#include "adapter/postgresql/parameters.h"

namespace CQXDB::adapter::postgresql {
namespace {

/// Enough to make the round trips not matter, and few enough to keep an error from coming late.
constexpr std::size_t kMostWaiting = 256;

bool IsCopy(const PGresult* result) noexcept {
    const ExecStatusType status = PQresultStatus(result);
    return status == PGRES_COPY_IN || status == PGRES_COPY_OUT || status == PGRES_COPY_BOTH;
}

bool Failed(const PGresult* result) noexcept {
    const ExecStatusType status = PQresultStatus(result);
    return status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK &&
           status != PGRES_SINGLE_TUPLE && status != PGRES_EMPTY_QUERY;
}

}  // namespace

void PgConnection::SendStatement(const Statement* owner, const std::string& sql,
                                 const PgParameters& parameters, QXCountList& counts) {
    if (waiting_ == 0 && PQenterPipelineMode(handle_.get()) == 0) {
        throw PgError(handle_.get(), nullptr);
    }
    try {
        Send(owner, sql, parameters);
    } catch (...) {
        if (waiting_ == 0) {
            PQexitPipelineMode(handle_.get());
        }
        throw;
    }
    ++waiting_;
    waitingCounts_ = &counts;
    parsed_ = owner;
    if (waiting_ >= kMostWaiting) {
        Settle();
    }
}

void PgConnection::Settle() {
    if (waiting_ == 0) {
        return;
    }
    const std::optional<DatabaseError> error = CollectPipeline();
    waiting_ = 0;
    PQexitPipelineMode(handle_.get());
    DropNotifications();
    if (error) {
        parsed_ = nullptr;
        throw DatabaseError(*error);
    }
}

void PgConnection::SettleEarlier() {
    try {
        Settle();
    } catch (const DatabaseError& error) {
        throw DatabaseError(error.Code(), error.what(), error.CommandsAgo() + 1);
    }
}

std::optional<DatabaseError> PgConnection::CollectPipeline() {
    PGconn* connection = handle_.get();
    if (PQpipelineSync(connection) == 0) {
        return PgError(connection, nullptr);
    }
    std::optional<DatabaseError> error;
    std::size_t left = waiting_;
    QXCounts counts;
    const auto failed = [&](const PGresult* result) {
        const DatabaseError bare = PgError(connection, result);
        error.emplace(bare.Code(), bare.what(), left - std::min<std::size_t>(left, 1));
    };
    // Rows are dropped, one by one: libpq would collect them otherwise.
    PQsetSingleRowMode(connection);
    while (PQstatus(connection) == CONNECTION_OK) {
        const PgResult result = NextResult();
        counts += PgCounts(result.get());
        if (!result) {
            // The end of one command's results, or of the connection.
            if (left > 0) {
                --left;
                waitingCounts_->Add(std::exchange(counts, {}));
            }
            PQsetSingleRowMode(connection);
        } else if (PQresultStatus(result.get()) == PGRES_PIPELINE_SYNC) {
            return error;
        } else if (IsCopy(result.get())) {
            // Which only a server sends that keeps to no rules; libpq would give it for ever.
            givenUp_ = true;
            return DatabaseError(DBMGR_BAD_VALUE, "COPY is not supported in a list");
        } else if (!error && Failed(result.get())) {
            failed(result.get());
        }
    }
    if (!error) {
        failed(nullptr);
    }
    return error;
}

}  // namespace CQXDB::adapter::postgresql
