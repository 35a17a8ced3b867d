// Transactions that last over several calls, each with a connection of its own.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include <qxdb/Cancellation.h>
#include <qxdb/QXCommand.h>
#include <qxdb/QXTransaction.h>

#include "adapter/pool_registry.h"
#include "adapter/work.h"

namespace CQXDB::adapter {

/// What a command of a transaction runs as. `cancellation` may be null.
struct TransactionCall {
    PoolRegistry& pools;
    const std::string& user;
    Cancellation* cancellation;
    CallReport* report;
    bool list;  ///< all or nothing, by a savepoint
};

/// Thread-safe. What doesn't work throws DatabaseError.
class OpenTransaction {
  public:
    OpenTransaction(const TransactionCall& call, const QXDataSource& dataSource,
                    const QXTransactionInfo& info);
    OpenTransaction(const OpenTransaction&) = delete;
    OpenTransaction& operator=(const OpenTransaction&) = delete;
    ~OpenTransaction();

    /// Runs `work` on the transaction's connection, and nothing when the transaction is over or on
    /// another data source.
    void Run(const TransactionCall& call, const QXDataSource& dataSource,
             const std::function<void(Connection&)>& work);

    // Queries whose rows are taken in portions. `number` is the caller's, one for each that is open
    // at the same time.
    void OpenCursor(const TransactionCall& call, const QXCommand& command, long number);
    void FetchCursor(const TransactionCall& call, const QXCommand& command, long number,
                     QXRecordset& rs, std::size_t maxBytes);
    /// One that isn't open is closed.
    void CloseCursor(const TransactionCall& call, const QXCommand& command, long number);

    /// Gives the connection back, whatever comes out of it.
    void Commit();
    void Rollback() noexcept;

  private:
    using Work = std::function<void(Connection&)>;

    void RunMarked(Connection& connection, const Work& work, bool& marked);
    void Repair(bool marked) noexcept;
    void Lose(const char* reason) noexcept;
    Connection& Open() const;

    const std::wstring key_;  ///< of the pool that the connection is from
    const std::string user_;
    std::mutex mutex_;
    std::optional<Lease> lease_;            ///< guarded by mutex_, as below; none when over
    const char* over_ = "";                 ///< why, when it is
    std::map<long, OpenedCursor> cursors_;  ///< guarded by mutex_; of the lease's connection
    bool committed_ = false;                ///< the database has done so by itself
};

/// Those of the process, by their identities. Thread-safe.
class OpenTransactions {
  public:
    static OpenTransactions& Instance();

    /// Begins one and gives its identity, which no other one of any process has.
    std::wstring Begin(const TransactionCall& call, const QXDataSource& dataSource,
                       const QXTransactionInfo& info);
    /// Throws DatabaseError when there is none of this identity (any more).
    std::shared_ptr<OpenTransaction> Find(const std::wstring& id);
    /// The same, and forgets it.
    std::shared_ptr<OpenTransaction> Take(const std::wstring& id);

  private:
    std::mutex mutex_;
    std::map<std::wstring, std::shared_ptr<OpenTransaction>> transactions_;  ///< guarded by mutex_
};

}  // namespace CQXDB::adapter
