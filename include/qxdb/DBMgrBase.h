// What the database managers have in common: their operations.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <qxdb/Cancellation.h>
#include <qxdb/DBMgrErrors.h>
#include <qxdb/Export.h>
#include <qxdb/QXColumnInfo.h>
#include <qxdb/QXCommandList.h>
#include <qxdb/QXDataSource.h>
#include <qxdb/QXNotice.h>
#include <qxdb/QXRsList.h>
#include <qxdb/QXTransaction.h>
#include <qxdb/RowSink.h>

namespace CQXDB {

namespace adapter {
class Connection;
class PoolRegistry;
class CallReport;
struct CallResult;
}  // namespace adapter

/// The operations of DBMgr and DBMgrWithPOCO, which differ in the databases that they reach. A
/// manager is cheap: connections live in a process-wide pool for each data source, from which every
/// call takes one. Different managers may be used by different threads at once; one manager by one
/// thread at a time. A failed call leaves its transaction rolled back, and the manager usable. No
/// operation throws for a database error; read errNumber() and errDesc() after each call.
class QXDB_ADAPTER_API DBMgrBase {
  public:
    DBMgrBase(const DBMgrBase&) = delete;
    DBMgrBase& operator=(const DBMgrBase&) = delete;

    /// True when a connection to the described database can be made. SQLite creates a missing file
    /// unless the option "mode" forbids it.
    bool CanConnect(QXDataSource* dataSource);
    /// A text without parameters may be a script of several statements. The command then knows what
    /// it changed (QXCommandBase::Counts).
    void Execute(QXCommand* command);
    /// Runs the commands in one transaction: all or nothing. The list then knows what each changed.
    void Execute(QXCommandList* list);
    /// Fills `rs` with the page that its page size and current page ask for; page size 0 means all
    /// rows. Rows after the page are not fetched. After an error `rs` is empty. A statement that
    /// gives no rows runs and leaves `rs` without columns.
    void OpenQuery(QXCommand* command, QXRecordset& rs);
    /// Runs the commands in one transaction; `rs` takes the rows of the last one.
    void OpenQuery(QXCommandList* list, QXRecordset& rs);
    /// Runs the commands in one transaction and appends to `out` one recordset for each, without
    /// columns for one that gives no rows; one that has several results (a procedure) adds them
    /// all. After an error `out` is empty.
    void BatchQry(QXCommandList* list, QXRsList& out);
    /// Describes the columns of one statement's result without running it. Some databases need no
    /// values for its parameters, none looks at them.
    void Describe(QXCommand* command, std::vector<QXColumnInfo>& columns);

    // Transactions that last over several calls. Begin takes a connection out of the pool and gives
    // an identity, by which any manager of the same class and session user reaches it: a command
    // with that identity (SetTransaction) runs there, and nowhere else, so that one whose
    // transaction is over fails with DBMGR_TRANSACTION_OVER. A list in a transaction is all or
    // nothing too; what other failed calls leave is the database's own rule (docs/adapter.md).
    // Calls of one transaction run one after the other.

    /// `id` is empty after an error.
    void Begin(QXDataSource* dataSource, const QXTransactionInfo& info, std::wstring& id);
    /// Ends it, also when it fails: then all of it is rolled back, unless the connection was lost
    /// in the very moment.
    void Commit(const std::wstring& id);
    /// Rolls back what is still there to be; fails only for an identity that is unknown.
    void Rollback(const std::wstring& id);
    /// The same without waiting for the database, which PostgreSQL and MySQL undo it without.
    void Abandon(const std::wstring& id) noexcept;

    // Results that are larger than memory, within a transaction that Begin has begun: the command
    // carries its identity. `cursor` is a number of the caller's choice, one for each that is open
    // at a time; all end with the transaction.

    /// Runs a query that changes nothing: SELECT, VALUES or WITH. A cursor of the same number is
    /// closed before.
    void OpenCursor(QXCommand* command, long cursor);
    /// Fills `rs` with the rows that come next, at most as many as its page size says (0: 1,000),
    /// fewer when they take more than 4 MiB, and none behind the last one. Of the command only data
    /// source and transaction are looked at, here and below.
    void FetchCursor(QXCommand* command, long cursor, QXRecordset& rs);
    /// What it has not given is not read. Closing one that isn't open is no error.
    void CloseCursor(QXCommand* command, long cursor);

    /// Closes the pooled connections, of all data sources of the manager's kind, that this process
    /// does not use at the moment. The database of ":memory:" goes with its connection.
    void CloseConn();

    /// Closes the pooled connections, of all data sources of the manager's kind, that nobody has
    /// used for the time of their option "pool_idle". Every other call does so too: this is for
    /// processes that may make none for long, which call it now and then. A database in memory
    /// stays.
    void CloseExpiredConn();

    /// Bounds what the rows of one query or batch may take up in memory. A call beyond it fails
    /// with DBMGR_RESULT_TOO_LARGE, and a list is rolled back. 0, as at the start, is no bound.
    void SetMaxResultBytes(std::size_t bytes) noexcept { maxResultBytes_ = bytes; }

    /// Whom OpenQuery of one command gives rows to while it still reads others; the recordset then
    /// gets those behind the last part. Databases that hand out whole results only don't call it.
    /// `sink` is borrowed until the next call of SetRowSink; null, as at the start, is nobody.
    void SetRowSink(const RowSink* sink) noexcept { rowSink_ = sink; }

    /// Whom the calls are made for, where one process serves several users: what one of them leaves
    /// in a pooled connection (settings, temporary tables, locks), another does not meet. "", as at
    /// the start, is one user like any other.
    void SetSessionUser(std::string user) { sessionUser_ = std::move(user); }

    /// What may end the calls from another thread. `cancellation` is borrowed until the next call
    /// of SetCancellation; null, as at the start, is nothing.
    void SetCancellation(Cancellation* cancellation) noexcept { cancellation_ = cancellation; }

    /// What the database said beside the result of the last call, in order, also when that failed:
    /// PostgreSQL's notices, MySQL's warnings, an ODBC driver's. The first hundred, of at most 256
    /// KiB.
    const std::vector<QXNotice>& Notices() const noexcept { return notices_; }

    /// The database's own code of the last call's error, or a DBMgrError; 0 is success.
    long errNumber() const noexcept { return errNumber_; }
    /// Its text, for people; "" after a success.
    std::wstring errDesc() const { return errDesc_; }

  protected:
    /// `pools` gives the pools of the manager's kind, which live until the process ends.
    explicit DBMgrBase(adapter::PoolRegistry& (*pools)()) noexcept : pools_(pools) {}
    ~DBMgrBase() = default;

  private:
    template <typename Call>
    void Reported(const Call& call);
    template <typename Work>
    void Run(const QXCommandBase* commands, bool list, const Work& work);
    template <typename Work>
    void OnTransaction(const QXCommand* command, const Work& work);
    void Count(QXCommandBase* commands, QXCountList counts) noexcept;

    void Leave(adapter::CallResult result) noexcept;

    adapter::PoolRegistry& (*pools_)();
    long errNumber_ = 0;
    std::wstring errDesc_;
    std::size_t maxResultBytes_ = 0;
    const RowSink* rowSink_ = nullptr;
    std::string sessionUser_;
    Cancellation* cancellation_ = nullptr;
    std::vector<QXNotice> notices_;
};

}  // namespace CQXDB
