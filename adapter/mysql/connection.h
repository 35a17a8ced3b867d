// A MySQL or MariaDB connection.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include <Poco/Data/MySQL/SessionHandle.h>

#include "adapter/cancel_mark.h"
#include "adapter/connection.h"

namespace CQXDB::adapter::mysql {

class MySqlConnection : public Connection {
  public:
    using Session = Poco::Data::MySQL::SessionHandle;

    /// Connects once more, as the same user, to end a statement from outside; throws DatabaseError.
    using Reconnect = std::function<std::unique_ptr<Session>()>;

    /// `session` is connected. A statement that takes longer than the timeout is ended by the
    /// server; 0 leaves that to the server. Throws DatabaseError.
    MySqlConnection(std::unique_ptr<Session> session, std::chrono::milliseconds statementTimeout,
                    Reconnect reconnect);

    std::shared_ptr<Statement> Prepare(const std::string& text) override;
    std::shared_ptr<Statement> PrepareScript(const std::string& text) override;
    const SqlDialect& Dialect() const noexcept override;

    void Begin(TransactionKind kind) override;
    void Commit() override;
    void Rollback() noexcept override;
    bool InTransaction() noexcept override;
    void BeginLasting(const QXTransactionInfo& info) override;
    bool HoldsTransaction() noexcept override { return InTransaction() && Connected(); }
    bool Connected() noexcept override;
    bool Recover() noexcept override;
    /// The server undoes it when it meets the end of the connection.
    void Abandon() noexcept override { GiveUp(); }
    void UseDatabase(const std::string& name) override;
    bool Alive() noexcept override;
    /// From the third time on the server is told to end the connection.
    void Cancel() noexcept override;
    bool Usable() noexcept override;
    /// Can't be done: the server keeps the role and what was recorded for profiling.
    bool Reset() noexcept override { return false; }

    // What the statements need.
    MYSQL* Handle() const noexcept { return *session_; }
    /// Runs any number of statements without parameters, drops their rows and gives what they
    /// changed. Throws DatabaseError.
    QXCounts RunText(const std::string& text);
    /// What the end of a result told, which the client library skips when rows aren't stored.
    unsigned WarningsBehindRows();
    /// Asks for the `count` warnings of the latest statement, unless nobody wants them.
    void CollectWarnings(unsigned count);
    /// Has the server end the statement under way. What was asked for may come too late, so that
    /// the connection is given up, unless its transaction goes on.
    void EndStatement() noexcept;
    /// To be called before anything is sent. Throws DatabaseError.
    void CheckCancelled() const { cancelled_.Check(); }
    /// To be called when the connection's settings are no longer what the pool's other users
    /// expect.
    void GiveUp() noexcept { givenUp_ = true; }

  private:
    /// `what` is "KILL" or "KILL QUERY".
    void Kill(const std::string& what) noexcept;
    void SetUp();
    void DropRows();

    std::unique_ptr<Session> session_;
    const std::chrono::milliseconds statementTimeout_;
    Reconnect reconnect_;
    const unsigned long thread_;  ///< the server's
    CancelMark cancelled_;
    int requests_ = 0;      ///< calls of Cancel
    std::string database_;  ///< chosen last
    bool givenUp_ = false;
    bool killed_ = false;  ///< a statement was, or the next one will be
};

}  // namespace CQXDB::adapter::mysql
