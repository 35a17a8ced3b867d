// A PostgreSQL connection.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <libpq-fe.h>

#include "adapter/cancel_mark.h"
#include "adapter/connection.h"
#include "adapter/database_error.h"

namespace CQXDB::adapter::postgresql {

class PgParameters;

struct PgResultFree {
    void operator()(PGresult* result) const noexcept { PQclear(result); }
};
using PgResult = std::unique_ptr<PGresult, PgResultFree>;

struct PgConnectionFree {
    void operator()(PGconn* connection) const noexcept { PQfinish(connection); }
};
using PgHandle = std::unique_ptr<PGconn, PgConnectionFree>;

struct PgCancelFree {
    void operator()(PGcancel* cancel) const noexcept { PQfreeCancel(cancel); }
};
using PgCancel = std::unique_ptr<PGcancel, PgCancelFree>;

/// Takes the rows of a result that has columns as they arrive, one result each, and at last a
/// result without rows. So libpq never holds more than one, which costs nothing that could be
/// measured.
using PgRowSink = std::function<void(const PGresult*)>;
/// For rows that nobody wants.
inline void DropPgRows(const PGresult*) {}

class PgConnection final : public Connection {
  public:
    /// What a session is set to before its first statement.
    struct Session {
        std::string timeZone;                 ///< "": as the server has it
        std::int64_t statementTimeoutMs = 0;  ///< 0: as the server has it
    };

    /// Connects once more, as the same user, to end the session from outside; throws DatabaseError.
    using Reconnect = std::function<PgHandle()>;

    /// `handle` is connected. Sets what the reading of values depends on; throws DatabaseError.
    PgConnection(PgHandle handle, const Session& session, Reconnect reconnect);

    std::shared_ptr<Statement> Prepare(const std::string& text) override;
    std::shared_ptr<Statement> PrepareScript(const std::string& text) override;
    const SqlDialect& Dialect() const noexcept override { return kPostgreSqlDialect; }
    void Settle() override;

    void Begin(TransactionKind kind) override;
    void Commit() override;
    void Rollback() noexcept override;
    bool InTransaction() noexcept override;
    void BeginLasting(const QXTransactionInfo& info) override;
    bool Recover() noexcept override;
    bool Connected() noexcept override {
        return !givenUp_ && PQstatus(handle_.get()) == CONNECTION_OK;
    }
    /// The server undoes it when it meets the end of the connection.
    void Abandon() noexcept override {}
    bool Alive() noexcept override;
    /// Libpq asks without TLS, also where the connection has it. From the third time on the server
    /// is told to end the session: a statement can catch what ends it. From the fifth time on the
    /// wait for the server ends, whatever that does.
    void Cancel() noexcept override;
    bool Usable() noexcept override;
    bool Reset() noexcept override;

    // What the statements need. Each throws DatabaseError when the server refuses.

    /// Runs any number of statements without parameters; gives the last result without columns.
    PgResult RunText(const std::string& text, const PgRowSink& sink = DropPgRows);
    /// What the latest of these changed.
    const QXCounts& Counts() const noexcept { return counts_; }
    /// The columns of one statement's result.
    PgResult Describe(const std::string& sql);
    /// Which no other cursor of the connection has.
    std::string NewCursorName() { return "qx_cursor_" + std::to_string(++cursors_); }
    void CloseCursor(const std::string& name);
    /// Runs one statement. `owner` is remembered: when it runs next, and nothing was parsed in
    /// between, the server does not have to parse it again. What `sink` throws ends the statement.
    void RunStatement(const Statement* owner, const std::string& sql,
                      const PgParameters& parameters, const PgRowSink& sink = DropPgRows);
    /// The same without waiting for the result, which is dropped; see Statement::ExecuteSoon.
    void SendStatement(const Statement* owner, const std::string& sql,
                       const PgParameters& parameters, QXCountList& counts);
    /// Forgets the statement that the server holds parsed for `owner`.
    void Forget(const Statement* owner) noexcept;

  private:
    /// Hands one statement to libpq.
    void Send(const Statement* owner, const std::string& sql, const PgParameters& parameters);
    PgResult Collect(const PgRowSink& sink);
    /// Settles for a command that comes next, and counts as handed over in an error.
    void SettleEarlier();

    // Instead of libpq's own: PQgetResult and PQgetCopyData keep every notification that comes
    // while they wait, and know no cancelling.
    PgResult NextResult();
    void DropCopiedData();
    /// Reads what comes next, or fails; waits for a moment at most. Throws DatabaseError when given
    /// up.
    void TakeInput();
    /// Makes libpq read results too, so not before it has been told how.
    void DropNotifications() noexcept;
    static void TakeNotice(void* of, const PGresult* notice) noexcept;
    /// To be told of the size of what has come, in bytes.
    void Measure(std::size_t bytes) noexcept;

    /// Asks the server to end the statement under way.
    void EndStatement() noexcept;
    /// Has the server end the session.
    void EndSession();
    /// The error of the first of the waiting commands that failed, if any; all results are taken.
    std::optional<DatabaseError> CollectPipeline();

    PgHandle handle_;
    PgCancel cancel_;  ///< what any thread may use
    Reconnect reconnect_;
    const int backend_;  ///< the server's process
    CancelMark cancelled_;
    int requests_ = 0;                  ///< calls of Cancel
    std::atomic<bool> givenUp_{false};  ///< nobody waits for the server any more
    bool swollen_ = false;              ///< libpq has made its buffer very large, which it keeps
    std::string settings_;              ///< the statements that set the session up
    std::size_t waiting_ = 0;           ///< commands whose results are outstanding
    QXCountList* waitingCounts_ = nullptr;  ///< where theirs go, which outlives them
    QXCounts counts_;
    unsigned cursors_ = 0;               ///< names that were given
    const Statement* parsed_ = nullptr;  ///< whose text is the server's unnamed statement
    std::vector<Oid> parsedTypes_;       ///< and the parameter types it was parsed with
};

}  // namespace CQXDB::adapter::postgresql
