// A SQLite connection with its prepared statements.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include <sqlite3.h>

#include "adapter/connection.h"
#include "adapter/sqlite/open.h"
#include "adapter/sqlite/session.h"
#include "adapter/sqlite/statement.h"
#include "adapter/sqlite/statement_cache.h"

namespace CQXDB::adapter::sqlite {

class SqliteConnection : public Connection {
  public:
    /// Opens the database. Throws DatabaseError.
    SqliteConnection(const SqliteSettings& settings, SqliteOpener open);

    std::shared_ptr<Statement> Prepare(const std::string& text) override;
    std::shared_ptr<Statement> PrepareAlone(const std::string& text) override;
    std::shared_ptr<Statement> PrepareScript(const std::string& text) override;
    const SqlDialect& Dialect() const noexcept override { return kSqliteDialect; }

    void Begin(TransactionKind kind) override;
    void Commit() override;
    void Rollback() noexcept override;
    bool InTransaction() noexcept override;
    /// Serializable, whatever is asked for. Asked for by name, it takes the write lock at once;
    /// else with the first change, which fails when others have changed what was read.
    void BeginLasting(const QXTransactionInfo& info) override;
    bool Recover() noexcept override;
    bool Alive() noexcept override;
    void Cancel() noexcept override { opened_->session.timer.Cancel(); }
    /// Opening a file anew leaves nothing, and takes no longer than looking for what there may be.
    /// The database of a private connection goes with it; where it is confined, all that is a
    /// user's is what is in the temporary database.
    bool Reset() noexcept override;
    bool Usable() noexcept override;

    /// Runs one statement that is not worth keeping.
    QXCounts RunOnce(std::string_view statement);

  private:
    /// All that goes when the database is closed; the statements first.
    struct Opened {
        Opened(const SqliteSettings& settings, SqliteOpener open);

        const SqliteFile file;
        SqliteSession session;
        StatementCache cache;
    };

    void DropTemporaryObjects();

    const SqliteSettings settings_;
    const SqliteOpener open_;
    std::unique_ptr<Opened> opened_;
};

}  // namespace CQXDB::adapter::sqlite
