#include "adapter/sqlite/connection.h"

#include <utility>
#include <vector>

#include "adapter/sqlite/errors.h"
#include "adapter/sqlite/guard.h"
#include "adapter/sqlite/script.h"
#include "adapter/statement_text.h"

namespace CQXDB::adapter::sqlite {
namespace {

constexpr std::size_t kCachedStatements = 64;
constexpr std::size_t kCachedBytes = std::size_t{8} << 20;

}  // namespace

SqliteConnection::SqliteConnection(sqlite3* db, std::shared_ptr<void> owner,
                                   const SqliteSettings& settings)
    : owner_(std::move(owner)),
      resettable_(settings.confined && settings.Private()),
      session_(db, settings.statementTimeout, settings.confined),
      cache_(kCachedStatements, kCachedBytes) {
    if (settings.confined) {
        ConfineSqlite(session_, settings.confinement);
    }
}

std::shared_ptr<Statement> SqliteConnection::Prepare(const std::string& text) {
    std::shared_ptr<Statement> cached = cache_.Find(text);
    if (!cached) {
        const auto made = std::make_shared<SqliteStatement>(session_, text, true);
        cache_.Add(text, made, text.size() + made->MemoryBytes());
        cached = made;
    }
    return cached;
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
    SqliteStatement(session_, statement, false).Execute({});
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
    session_.timer.EndCall();  // or it would be cancelled too
    if (InTransaction()) {
        const SqliteHeap::Scope scope(session_.Heap());
        sqlite3_exec(session_.db, "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

bool SqliteConnection::InTransaction() noexcept {
    return sqlite3_get_autocommit(session_.db) == 0;
}

bool SqliteConnection::Alive() noexcept {
    // A file that was deleted or replaced would take further changes and lose them.
    int moved = 0;
    const int code = sqlite3_file_control(session_.db, "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    return code != SQLITE_OK || moved == 0;
}

bool SqliteConnection::Reset() noexcept {
    if (!resettable_) {
        return false;
    }
    try {
        cache_.Clear();
        DropTemporaryObjects();
        cache_.Clear();
        sqlite3_set_last_insert_rowid(session_.db, 0);
        return true;
    } catch (...) {
        return false;
    }
}

bool SqliteConnection::Usable() noexcept {
    session_.timer.EndCall();
    return !InTransaction();  // else a rollback has failed
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
