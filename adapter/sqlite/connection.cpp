#include "adapter/sqlite/connection.h"

#include <utility>
#include <vector>

#include "adapter/sqlite/errors.h"
#include "adapter/sqlite/script.h"
#include "adapter/statement_text.h"

namespace CQXDB::adapter::sqlite {
namespace {

constexpr std::size_t kCachedStatements = 64;

}  // namespace

SqliteConnection::SqliteConnection(sqlite3* db, std::shared_ptr<void> owner,
                                   std::chrono::milliseconds statementTimeout, bool confined)
    : owner_(std::move(owner)),
      db_(db),
      timer_(db, statementTimeout),
      cache_(kCachedStatements),
      confined_(confined) {}

std::shared_ptr<Statement> SqliteConnection::Prepare(const std::string& text) {
    std::shared_ptr<Statement> statement = cache_.Find(text);
    if (!statement) {
        statement = std::make_shared<SqliteStatement>(db_, timer_, text, true);
        cache_.Add(text, statement);
    }
    return statement;
}

std::shared_ptr<Statement> SqliteConnection::PrepareScript(const std::string& text) {
    if (std::shared_ptr<Statement> statement = cache_.Find(text)) {
        return statement;
    }
    std::vector<std::string_view> statements = SplitStatements(text, kSqliteDialect);
    if (statements.size() > 1) {
        return std::make_shared<SqliteScript>(*this, std::move(statements));
    }
    return Prepare(text);
}

void SqliteConnection::RunOnce(std::string_view statement) {
    SqliteStatement(db_, timer_, statement, false).Execute({});
}

void SqliteConnection::Begin(TransactionKind kind) {
    // A transaction that will write asks for the write lock at once: one that asks later can't be
    // made to wait for it, and would fail instead.
    RunOnce(kind == TransactionKind::Write ? "BEGIN IMMEDIATE" : "BEGIN");
}

void SqliteConnection::Commit() {
    RunOnce("COMMIT");
}

void SqliteConnection::Rollback() noexcept {
    if (InTransaction()) {
        sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

bool SqliteConnection::InTransaction() noexcept {
    return sqlite3_get_autocommit(db_) == 0;
}

bool SqliteConnection::Alive() noexcept {
    // A file that was deleted or replaced would take further changes and lose them.
    int moved = 0;
    const int code = sqlite3_file_control(db_, "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    return code != SQLITE_OK || moved == 0;
}

bool SqliteConnection::Reset() noexcept {
    try {
        DropTemporaryObjects();
        sqlite3_set_last_insert_rowid(db_, 0);
        return confined_;
    } catch (...) {
        return false;
    }
}

void SqliteConnection::DropTemporaryObjects() {
    static const std::string kDrops =
        "SELECT printf('DROP %s IF EXISTS temp.\"%w\"', type, name) FROM temp.sqlite_schema "
        "WHERE type <> 'index' AND name NOT LIKE 'sqlite^_%' ESCAPE '^' ORDER BY type = 'table'";
    QXRecordset drops;
    Prepare(kDrops)->Query({}, Page(), drops);
    for (std::size_t row = 0; row < drops.RowCount(); ++row) {
        RunOnce(drops.GetTextUtf8(row, 0));
    }
}

}  // namespace CQXDB::adapter::sqlite
