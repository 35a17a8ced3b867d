// A connection through an ODBC driver.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include <Poco/Data/ODBC/ConnectionHandle.h>
#include <Poco/Data/ODBC/Handle.h>

#include "adapter/cancel_mark.h"
#include "adapter/connection.h"
#include "adapter/odbc/errors.h"

namespace CQXDB::adapter::odbc {

class OdbcConnection : public Connection {
  public:
    using Handle = const Poco::Data::ODBC::ConnectionHandle;

    /// `handle` is connected, and in the driver's autocommit mode.
    /// Statements are given `statementSeconds`, by drivers that can; 0 is no limit.
    OdbcConnection(std::unique_ptr<Handle> handle, std::uintptr_t statementSeconds);

    std::shared_ptr<Statement> Prepare(const std::string& text) override;
    std::shared_ptr<Statement> PrepareScript(const std::string& text) override;
    const SqlDialect& Dialect() const noexcept override { return *dialect_; }

    void Begin(TransactionKind kind) override;
    void Commit() override;
    void Rollback() noexcept override;
    bool InTransaction() noexcept override { return began_ || userBegan_; }
    void BeginLasting(const QXTransactionInfo& info) override;
    bool HoldsTransaction() noexcept override { return began_ && !broken_ && !undone_; }
    bool Recover() noexcept override;
    bool Connected() noexcept override { return !broken_; }
    bool Alive() noexcept override;
    /// Passes it to the driver, which may not heed it before the next row.
    void Cancel() noexcept override;
    bool Usable() noexcept override { return !broken_ && !changed_ && !cancelled_.IsSet(); }

    // What the statements need.

    /// The stretch in which Cancel reaches a statement. One at a time.
    class Running {
      public:
        Running(OdbcConnection& connection, SQLHSTMT statement);
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;
        ~Running();

      private:
        OdbcConnection& connection_;
    };

    /// To be told of the size of a value, in bytes.
    void Measure(std::size_t bytes) noexcept { broken_ = broken_ || bytes > kMostBufferBytes; }
    /// To be called before the driver is asked for more. Throws DatabaseError.
    void CheckCancelled() const { cancelled_.Check(); }
    Handle& Native() const noexcept { return *handle_; }
    std::uintptr_t StatementSeconds() const noexcept { return statementSeconds_; }
    /// True when the driver runs only the first statement of a text, or none of several unless
    /// its options say otherwise.
    bool OneStatementATime() const noexcept {
        return dialect_ == &kSqliteDialect || dialect_ == &kMySqlDialect;
    }
    /// To be told of every text before it runs, since no driver tells whether it began a
    /// transaction.
    void Watch(const std::string& text);
    /// Throws the error of a statement when `code` is one.
    void Check(SQLHSTMT statement, SQLRETURN code);
    /// The same for one that has run, or goes to its next result, with its warnings.
    void CheckRun(SQLHSTMT statement, SQLRETURN code);

  private:
    void SetLevel(QXIsolation isolation);
    void SetReadOnly();
    void RunText(const std::string& text);
    std::string DatabaseName() const;
    void CheckConnection(SQLRETURN code);
    [[noreturn]] void ThrowError(SQLSMALLINT handleType, SQLHANDLE handle);
    void SetAutocommit(bool on);

    std::unique_ptr<Handle> handle_;
    std::uintptr_t statementSeconds_;
    const SqlDialect* dialect_;
    std::string probe_;       ///< a statement that any such database runs
    bool began_ = false;      ///< by Begin()
    bool userBegan_ = false;  ///< by a text
    bool broken_ = false;
    bool undone_ = false;   ///< the database has rolled back by itself, which drivers don't tell
    bool changed_ = false;  ///< has settings of a transaction, which its next user doesn't expect
    CancelMark cancelled_;
    /// SQLite's driver closes the statement that it is to cancel, whoever uses it at the time. All
    /// it has to know is the connection, so it is named a statement that nobody uses.
    std::unique_ptr<const Poco::Data::ODBC::StatementHandle> unused_;
    std::mutex mutex_;
    SQLHSTMT running_ = SQL_NULL_HSTMT;  ///< guarded by mutex_
};

}  // namespace CQXDB::adapter::odbc
