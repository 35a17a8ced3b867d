#include "adapter/open_transactions.h"

#include <random>
#include <utility>

#include "adapter/cancellable_work.h"
#include "adapter/database_error.h"
#include "adapter/reported_work.h"

namespace CQXDB::adapter {
namespace {

const char* const kUnknown =
    "its connection or session has ended, it was unused for too long, or it never was";
const char* const kDatabaseEnded =
    "the database has ended it: by an error that undoes all of it, a statement that commits by "
    "itself, or the loss of the connection";

[[noreturn]] void RefuseOver(const char* reason) {
    throw DatabaseError(DBMGR_TRANSACTION_OVER,
                        std::string("the transaction is over, and this was not run: ") + reason);
}

std::wstring NewIdentity() {
    std::random_device random;
    std::wstring id;
    constexpr int kWords = 4;
    for (int i = 0; i < kWords; ++i) {
        static const wchar_t* const digits = L"0123456789abcdef";
        for (unsigned word = random(), left = 8; left > 0; --left, word >>= 4U) {
            id += digits[word & 0xfU];
        }
    }
    return id;
}

enum class Mark { Set, Undo, Forget };

/// "" when this database has no such statement.
std::string MarkText(Mark mark, const SqlDialect& dialect) {
    const bool sqlServer = &dialect == &kSqlServerDialect;
    switch (mark) {
        case Mark::Set:
            return sqlServer ? "SAVE TRANSACTION qxdb_list" : "SAVEPOINT qxdb_list";
        case Mark::Undo:
            return sqlServer ? "ROLLBACK TRANSACTION qxdb_list" : "ROLLBACK TO SAVEPOINT qxdb_list";
        case Mark::Forget:
            break;
    }
    const bool none = sqlServer || &dialect == &kOdbcDialect;
    return none ? "" : "RELEASE SAVEPOINT qxdb_list";
}

void Do(Mark mark, Connection& connection) {
    const std::string text = MarkText(mark, connection.Dialect());
    if (!text.empty()) {
        connection.PrepareScript(text)->Execute({});
    }
}

}  // namespace

OpenTransaction::OpenTransaction(const TransactionCall& call, const QXDataSource& dataSource,
                                 const QXTransactionInfo& info)
    : key_(call.pools.Key(dataSource)), user_(call.user) {
    Lease lease = call.pools.Take(dataSource, call.user, call.cancellation);
    try {
        const CancellableWork running(call.cancellation, *lease);
        const ReportedWork reported(*lease, call.report);
        lease->BeginLasting(info);
    } catch (...) {
        lease->Rollback();
        CancellableWork::Check(call.cancellation);
        throw;
    }
    lease.Detach();
    lease_.emplace(std::move(lease));
}

OpenTransaction::~OpenTransaction() {
    cursors_.clear();
    if (lease_) {
        (*lease_)->Abandon();
    }
}

Connection& OpenTransaction::Open() const {
    if (!lease_) {
        RefuseOver(over_);
    }
    return **lease_;
}

void OpenTransaction::Lose(const char* reason) noexcept {
    over_ = reason;
    cursors_.clear();
    (*lease_)->Rollback();
    lease_.reset();
}

void OpenTransaction::Run(const TransactionCall& call, const QXDataSource& dataSource,
                          const Work& work) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Connection& connection = Open();
    if (call.pools.Key(dataSource) != key_ || call.user != user_) {
        throw DatabaseError(DBMGR_OTHER_DATABASE,
                            "the transaction is on another database than this command");
    }
    bool marked = false;
    try {
        const CancellableWork running(call.cancellation, connection);
        const ReportedWork reported(connection, call.report);
        call.pools.ChooseDatabase(connection, dataSource);
        call.list ? RunMarked(connection, work, marked) : work(connection);
    } catch (const std::exception&) {
        Repair(marked);
        CancellableWork::Check(call.cancellation);  // which is why the work failed, most likely
        throw;
    } catch (...) {
        Lose(kDatabaseEnded);
        throw;
    }
    if (!connection.HoldsTransaction()) {
        committed_ = true;
        Lose(kDatabaseEnded);
    }
}

void OpenTransaction::RunMarked(Connection& connection, const Work& work, bool& marked) {
    Do(Mark::Set, connection);
    marked = true;
    work(connection);
    marked = connection.HoldsTransaction();
    if (marked) {
        Do(Mark::Forget, connection);
    }
}

/// What a failed call has left is the database's own rule, but for a list, of which nothing stays.
void OpenTransaction::Repair(bool marked) noexcept {
    Connection& connection = **lease_;
    bool goesOn = false;
    try {
        goesOn = connection.Recover();
        if (goesOn && marked) {
            Do(Mark::Undo, connection);
            Do(Mark::Forget, connection);
        }
    } catch (...) {
        goesOn = false;
    }
    if (!goesOn) {
        Lose(kDatabaseEnded);
    }
}

void OpenTransaction::OpenCursor(const TransactionCall& call, const QXCommand& command,
                                 long number) {
    Run(call, command.SysDataSrc(), [&](Connection& connection) {
        cursors_.erase(number);
        cursors_.try_emplace(number, connection, command);
    });
}

void OpenTransaction::FetchCursor(const TransactionCall& call, const QXCommand& command,
                                  long number, QXRecordset& rs, std::size_t maxBytes) {
    Run(call, command.SysDataSrc(), [&](Connection&) {
        const auto cursor = cursors_.find(number);
        if (cursor == cursors_.end()) {
            throw DatabaseError(DBMGR_NO_CURSOR, "no such cursor is open");
        }
        cursor->second.Fetch(rs, maxBytes);
    });
}

void OpenTransaction::CloseCursor(const TransactionCall& call, const QXCommand& command,
                                  long number) {
    Run(call, command.SysDataSrc(), [&](Connection&) { cursors_.erase(number); });
}

void OpenTransaction::Commit() {
    const std::lock_guard<std::mutex> lock(mutex_);
    cursors_.clear();
    if (committed_) {
        return;
    }
    Connection& connection = Open();
    try {
        connection.Commit();
    } catch (const DatabaseError& error) {
        const bool answered = connection.Connected();
        Lose(kDatabaseEnded);
        if (answered) {
            throw;
        }
        throw DatabaseError(DBMGR_OUTCOME_UNKNOWN,
                            std::string("whether the transaction was committed is unknown, since "
                                        "the answer was lost: ") +
                                error.what());
    } catch (...) {
        Lose(kDatabaseEnded);
        throw;
    }
    lease_.reset();
}

void OpenTransaction::Rollback() noexcept {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (lease_) {
        Lose(kUnknown);
    }
}

OpenTransactions& OpenTransactions::Instance() {
    static OpenTransactions all;
    return all;
}

std::wstring OpenTransactions::Begin(const TransactionCall& call, const QXDataSource& dataSource,
                                     const QXTransactionInfo& info) {
    std::wstring id = NewIdentity();
    auto transaction = std::make_shared<OpenTransaction>(call, dataSource, info);
    const std::lock_guard<std::mutex> lock(mutex_);
    transactions_.emplace(id, std::move(transaction));
    return id;
}

std::shared_ptr<OpenTransaction> OpenTransactions::Find(const std::wstring& id) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = transactions_.find(id);
    if (found == transactions_.end()) {
        RefuseOver(kUnknown);
    }
    return found->second;
}

std::shared_ptr<OpenTransaction> OpenTransactions::Take(const std::wstring& id) {
    std::shared_ptr<OpenTransaction> transaction = Find(id);
    const std::lock_guard<std::mutex> lock(mutex_);
    transactions_.erase(id);
    return transaction;
}

}  // namespace CQXDB::adapter
