// What the managers need of a database: connections that prepare statements, and statements that
// run.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <qxdb/QXColumn.h>
#include <qxdb/QXColumnInfo.h>
#include <qxdb/QXCounts.h>
#include <qxdb/QXRsList.h>
#include <qxdb/QXTransaction.h>
#include <qxdb/QXValue.h>

#include "adapter/call_report.h"
#include "adapter/page.h"
#include "adapter/sql_lexer.h"

namespace CQXDB::adapter {

using Parameters = std::vector<QXValue>;

/// Parameters that stand in columns: one row of them.
struct ParameterRow {
    const std::vector<QXColumn>& columns;
    std::size_t row;

    Parameters Values() const {
        Parameters values;
        values.reserve(columns.size());
        for (const QXColumn& column : columns) {
            values.push_back(column.Get(row));
        }
        return values;
    }
};

class RowCursor;

/// A prepared text. Every call checks the number of parameters before anything runs, and throws
/// DatabaseError for what the database refuses.
class Statement {
  public:
    Statement() = default;
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    virtual ~Statement() = default;

    /// Runs to the end; rows are dropped.
    virtual QXCounts Execute(const Parameters& parameters) = 0;
    /// The same, and adds its counts to `counts`. A connection that can send several commands at a
    /// time may do so, and throw the error of one, in a later call, or in Connection::Settle.
    virtual void ExecuteSoon(const Parameters& parameters, QXCountList& counts) {
        counts.Add(Execute(parameters));
    }
    virtual void ExecuteRowSoon(const ParameterRow& parameters, QXCountList& counts) {
        ExecuteSoon(parameters.Values(), counts);
    }
    /// Appends columns and the rows of the page to `rs`, which is empty. A statement without a
    /// result set runs and leaves `rs` without columns.
    virtual void Query(const Parameters& parameters, const Page& page, QXRecordset& rs) = 0;
    /// Appends a recordset for each result that the statement has, or one without columns.
    /// `page` has all rows.
    virtual void QueryEach(const Parameters& parameters, const Page& page, QXRsList& out) {
        QXRecordset rs;
        Query(parameters, page, rs);
        out.Add(std::move(rs));
    }
    /// Describes the result's columns without running anything; none for a statement that gives no
    /// rows.
    virtual std::vector<QXColumnInfo> Describe() = 0;
    /// Runs a query whose rows are taken in portions, within a transaction. One at a time; it lives
    /// no longer than the statement.
    virtual std::unique_ptr<RowCursor> OpenCursor(const Parameters& parameters) = 0;
};

/// The rows of one execution, of which others than those of the latest portion take no memory, here
/// or in the client library, as far as that allows it. Ends the execution with its destruction.
class RowCursor {
  public:
    RowCursor() = default;
    RowCursor(const RowCursor&) = delete;
    RowCursor& operator=(const RowCursor&) = delete;
    virtual ~RowCursor() = default;

    /// Adds the columns and at most `page.count` of the rows that come next to `rs`, which is
    /// empty; fewer when kPortionBytes are reached, and none behind the last one.
    virtual void Fetch(const Page& page, QXRecordset& rs) = 0;
};

/// Client libraries make their buffers as large as the largest row, and never smaller again. A
/// connection with one beyond this is closed rather than kept.
constexpr std::size_t kMostBufferBytes = std::size_t{16} << 20;

enum class TransactionKind { Read, Write };

/// One connection, used by one thread at a time.
class Connection {
  public:
    Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    virtual ~Connection() = default;

    /// The text is UTF-8. The statement must not outlive the connection.
    virtual std::shared_ptr<Statement> Prepare(const std::string& text) = 0;
    /// The same, for a statement that others of the same text don't meet while it runs.
    virtual std::shared_ptr<Statement> PrepareAlone(const std::string& text) {
        return Prepare(text);
    }
    /// Prepares what may be a script: several statements, which take no parameters and run as one
    /// transaction unless they hold BEGIN, COMMIT or the like themselves. A failed script may leave
    /// its transaction open, for the caller to roll back. `text` must outlive the statement.
    virtual std::shared_ptr<Statement> PrepareScript(const std::string& text) = 0;
    virtual const SqlDialect& Dialect() const noexcept = 0;

    /// Where the calls that follow leave their notices; null for nowhere.
    void SetReport(CallReport* report) noexcept { report_ = report; }

    /// Waits for everything that ExecuteSoon has started. All else that goes to the database does
    /// so first.
    virtual void Settle() {}

    virtual void Begin(TransactionKind kind) = 0;
    virtual void Commit() = 0;
    /// Never throws: a connection that can't roll back counts as broken from then on.
    virtual void Rollback() noexcept = 0;
    virtual bool InTransaction() noexcept = 0;

    // A transaction that lasts over several calls ends by Commit, Rollback or Abandon.
    virtual void BeginLasting(const QXTransactionInfo& info) = 0;
    /// False when it is over without having been ended: by the database, or with the connection.
    virtual bool HoldsTransaction() noexcept { return InTransaction(); }
    /// After a call that failed or was cancelled: makes the connection ready for the next one.
    /// False when the transaction can't go on.
    virtual bool Recover() noexcept { return HoldsTransaction(); }
    /// False when a call has shown that the database can't be reached any more.
    virtual bool Connected() noexcept { return true; }
    /// Leaves the transaction for the database to undo, without waiting for that where it does so
    /// at the end of the connection, which is then not Usable.
    virtual void Abandon() noexcept { Rollback(); }

    /// Sends what follows to the database of that name, where one connection can reach several of
    /// a server; "" leaves it where it is.
    virtual void UseDatabase(const std::string& /*name*/) {}

    /// Asks, after a time unused, whether the database is still there and still the same one.
    virtual bool Alive() noexcept = 0;
    /// Asks the database to end what is running, from any thread and while another one uses the
    /// connection; a statement that begins just now may miss it. A connection that a late request
    /// could still reach is not Usable afterwards.
    virtual void Cancel() noexcept {}
    /// False once a call has shown that the connection is lost.
    virtual bool Usable() noexcept { return true; }
    /// Brings the session back to what it was when the connection was opened: settings, temporary
    /// tables, locks and the like. False when that can't be done; the connection is then of no more
    /// use.
    virtual bool Reset() noexcept { return false; }

  protected:
    CallReport* report_ = nullptr;
};

}  // namespace CQXDB::adapter
