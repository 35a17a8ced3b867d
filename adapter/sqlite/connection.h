// A SQLite connection with its prepared statements.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include <sqlite3.h>

#include "adapter/connection.h"
#include "adapter/sqlite/guard.h"
#include "adapter/sqlite/statement.h"
#include "adapter/sqlite/statement_cache.h"

namespace CQXDB::adapter::sqlite {

class SqliteConnection : public Connection {
  public:
    /// `owner` keeps `db` open and closes it when the connection goes. `confined` tells that
    /// ConfineSqlite was called.
    SqliteConnection(sqlite3* db, std::shared_ptr<void> owner,
                     std::chrono::milliseconds statementTimeout, bool confined);

    std::shared_ptr<Statement> Prepare(const std::string& text) override;
    std::shared_ptr<Statement> PrepareScript(const std::string& text) override;
    const SqlDialect& Dialect() const noexcept override { return kSqliteDialect; }

    void Begin(TransactionKind kind) override;
    void Commit() override;
    void Rollback() noexcept override;
    bool InTransaction() noexcept override;
    bool Alive() noexcept override;
    /// A confined connection has nothing of a user's but what is in its temporary database.
    bool Reset() noexcept override;
    bool Usable() noexcept override { return !InTransaction(); }  ///< else a rollback has failed

    /// Runs one statement that is not worth keeping.
    void RunOnce(std::string_view statement);

  private:
    void DropTemporaryObjects();

    std::shared_ptr<void> owner_;
    sqlite3* db_;
    SqliteTimer timer_;
    StatementCache cache_;
    bool confined_;
};

}  // namespace CQXDB::adapter::sqlite
