#include "adapter/postgresql/connection.h"

#include <cstring>
#include <exception>
#include <optional>
#include <utility>

#include "adapter/isolation.h"
#include "adapter/postgresql/errors.h"
#include "adapter/postgresql/parameters.h"
#include "adapter/postgresql/statement.h"

namespace CQXDB::adapter::postgresql {
namespace {

// The calls of Cancel up to which the statement is asked to end, and then the session.
constexpr int kStatementRequests = 2;
constexpr int kSessionRequests = 4;

/// The formats in which values are read.
const char* const kFormats =
    "SET DateStyle = 'ISO'; SET IntervalStyle = 'postgres'; SET bytea_output = 'hex'; "
    "SET extra_float_digits = 3";

std::string Quoted(PGconn* connection, const std::string& text) {
    const std::unique_ptr<char, void (*)(void*)> quoted(
        PQescapeLiteral(connection, text.data(), text.size()), PQfreemem);
    if (!quoted) {
        throw PgError(connection, nullptr);
    }
    return quoted.get();
}

}  // namespace

PgConnection::PgConnection(PgHandle handle, const Session& session, Reconnect reconnect)
    : handle_(std::move(handle)),
      cancel_(PQgetCancel(handle_.get())),
      reconnect_(std::move(reconnect)),
      backend_(PQbackendPID(handle_.get())),
      settings_(kFormats) {
    PQsetNoticeReceiver(handle_.get(), TakeNotice, this);
    if (!session.timeZone.empty()) {
        settings_ += "; SET TimeZone = " + Quoted(handle_.get(), session.timeZone);
    }
    if (session.statementTimeoutMs != 0) {
        settings_ += "; SET statement_timeout = " + std::to_string(session.statementTimeoutMs);
    }
    RunText(settings_);
}

std::shared_ptr<Statement> PgConnection::Prepare(const std::string& text) {
    return std::make_shared<PgStatement>(*this, text, false);
}

std::shared_ptr<Statement> PgConnection::PrepareScript(const std::string& text) {
    return std::make_shared<PgStatement>(*this, text, true);
}

void PgConnection::Begin(TransactionKind) {
    RunText("BEGIN");
}

void PgConnection::BeginLasting(const QXTransactionInfo& info) {
    const std::string level = IsolationText(info.isolation);
    RunText("BEGIN" + (level.empty() ? "" : ' ' + level) + (info.readOnly ? " READ ONLY" : ""));
}

bool PgConnection::Recover() noexcept {
    if (requests_ > kStatementRequests || givenUp_) {
        return false;  // the session is ended, or about to be
    }
    requests_ = 0;
    cancelled_.Clear();
    if (waiting_ != 0) {
        EndStatement();
    }
    try {
        Settle();
    } catch (...) {
        // Has been told, or belongs to what has failed already.
    }
    return HoldsTransaction();
}

void PgConnection::Commit() {
    const PgResult result = RunText("COMMIT");
    // A failed transaction is rolled back by COMMIT, and the server calls that a success.
    if (std::strcmp(PQcmdStatus(result.get()), "COMMIT") != 0) {
        throw DatabaseError(SqlStateCode("25P02"),
                            "25P02: the transaction had failed before its end");
    }
}

void PgConnection::Rollback() noexcept {
    if (givenUp_) {
        return;  // The server does so when it meets the end of the connection.
    }
    if (waiting_ != 0) {
        EndStatement();
    }
    try {
        Settle();
    } catch (...) {
        // What failed is about to be undone.
    }
    if (InTransaction()) {
        parsed_ = nullptr;
        const PgResult result(PQexec(handle_.get(), "ROLLBACK"));
    }
}

bool PgConnection::InTransaction() noexcept {
    const PGTransactionStatusType status = PQtransactionStatus(handle_.get());
    return status != PQTRANS_IDLE && status != PQTRANS_UNKNOWN;
}

bool PgConnection::Alive() noexcept {
    // The first call may only get the server's parting words; the second one then meets the end.
    const bool open =
        PQconsumeInput(handle_.get()) != 0 && PQconsumeInput(handle_.get()) != 0 && Usable();
    DropNotifications();
    return open;
}

bool PgConnection::Usable() noexcept {
    return !cancelled_.IsSet() && !givenUp_ && !swollen_ &&
           PQstatus(handle_.get()) == CONNECTION_OK &&
           PQtransactionStatus(handle_.get()) == PQTRANS_IDLE;
}

bool PgConnection::Reset() noexcept {
    try {
        RunText("DISCARD ALL");
        RunText(settings_);
        return true;
    } catch (...) {
        return false;
    }
}

PgResult PgConnection::Describe(const std::string& sql) {
    SettleEarlier();
    parsed_ = nullptr;
    cancelled_.Check();
    if (PQsendPrepare(handle_.get(), "", sql.c_str(), 0, nullptr) == 0) {
        throw PgError(handle_.get(), nullptr);
    }
    Collect(DropPgRows);
    if (PQsendDescribePrepared(handle_.get(), "") == 0) {
        throw PgError(handle_.get(), nullptr);
    }
    return Collect(DropPgRows);
}

void PgConnection::CloseCursor(const std::string& name) {
    if (!givenUp_ && PQtransactionStatus(handle_.get()) == PQTRANS_INTRANS) {
        RunText("CLOSE " + name);
    }
}

PgResult PgConnection::RunText(const std::string& text, const PgRowSink& sink) {
    SettleEarlier();
    parsed_ = nullptr;
    cancelled_.Check();
    if (PQsendQuery(handle_.get(), text.c_str()) == 0) {
        throw PgError(handle_.get(), nullptr);
    }
    return Collect(sink);
}

void PgConnection::RunStatement(const Statement* owner, const std::string& sql,
                                const PgParameters& parameters, const PgRowSink& sink) {
    SettleEarlier();
    Send(owner, sql, parameters);
    Collect(sink);
    parsed_ = owner;
}

void PgConnection::Send(const Statement* owner, const std::string& sql,
                        const PgParameters& parameters) {
    cancelled_.Check();
    PGconn* connection = handle_.get();
    const bool parsed = parsed_ == owner && parsedTypes_ == parameters.Types();
    parsed_ = nullptr;
    parsedTypes_ = parameters.Types();
    const int sent =
        parsed ? PQsendQueryPrepared(connection, "", parameters.Count(), parameters.Values(),
                                     parameters.Lengths(), parameters.Formats(), 0)
               : PQsendQueryParams(connection, sql.c_str(), parameters.Count(),
                                   parameters.Types().data(), parameters.Values(),
                                   parameters.Lengths(), parameters.Formats(), 0);
    if (sent == 0) {
        throw PgError(connection, nullptr);
    }
}

PgResult PgConnection::Collect(const PgRowSink& sink) {
    PGconn* connection = handle_.get();
    PgResult kept;
    std::optional<DatabaseError> error;
    std::exception_ptr stopped;
    counts_ = {};
    PQsetSingleRowMode(connection);
    while (PgResult result = NextResult()) {
        const ExecStatusType status = PQresultStatus(result.get());
        counts_ += PgCounts(result.get());
        if (stopped) {
            continue;
        }
        if (status == PGRES_SINGLE_TUPLE || status == PGRES_TUPLES_OK) {
            try {
                sink(result.get());
            } catch (...) {
                stopped = std::current_exception();
                EndStatement();
            }
        } else if (status == PGRES_COPY_IN) {
            PQputCopyEnd(connection, "data from the client is not supported");
        } else if (status == PGRES_COPY_OUT || status == PGRES_COPY_BOTH) {
            DropCopiedData();
            error =
                error ? error : DatabaseError(DBMGR_BAD_VALUE, "COPY TO STDOUT is not supported");
        } else if (status != PGRES_COMMAND_OK && status != PGRES_EMPTY_QUERY) {
            error = error ? error : PgError(connection, result.get());
        } else {
            kept = std::move(result);
        }
    }
    DropNotifications();
    if (stopped) {
        std::rethrow_exception(stopped);
    }
    if (error || PQstatus(connection) != CONNECTION_OK) {
        throw error ? *error : PgError(connection, nullptr);
    }
    return kept;
}

void PgConnection::EndStatement() noexcept {
    char ignored[256] = {};
    // When it fails, the statement goes on to its end.
    PQcancel(cancel_.get(), ignored, sizeof ignored);
}

void PgConnection::EndSession() {
    const PgHandle other = reconnect_();
    const std::string text = "SELECT pg_terminate_backend(" + std::to_string(backend_) + ")";
    const PgResult ended(PQexec(other.get(), text.c_str()));
}

void PgConnection::Cancel() noexcept {
    cancelled_.Set();
    ++requests_;
    if (requests_ <= kStatementRequests) {
        EndStatement();
    } else if (requests_ <= kSessionRequests) {
        try {
            EndSession();
        } catch (...) {
            // The server can't be reached, or has no room for one more.
        }
    } else {
        givenUp_ = true;
    }
}

void PgConnection::Forget(const Statement* owner) noexcept {
    parsed_ = parsed_ == owner ? nullptr : parsed_;
}

}  // namespace CQXDB::adapter::postgresql
