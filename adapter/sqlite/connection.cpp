#include "adapter/sqlite/connection.h"

#include <utility>
#include <vector>

#include "adapter/isolation.h"
#include "adapter/sqlite/errors.h"
#include "adapter/sqlite/guard.h"
#include "adapter/sqlite/script.h"
#include "adapter/statement_text.h"

namespace CQXDB::adapter::sqlite {
namespace {

constexpr std::size_t kCachedStatements = 64;
constexpr std::size_t kCachedBytes = std::size_t{8} << 20;

}  // namespace

SqliteConnection::Opened::Opened(const SqliteSettings& settings, SqliteOpener open)
    : file(open(settings)),
      session(file.db, settings.statementTimeout, settings.confined),
      cache(kCachedStatements, kCachedBytes) {
    const auto changed = [](void* of, int change, const char*, const char*, sqlite3_int64) {
        static_cast<SqliteSession*>(of)->inserted |= change == SQLITE_INSERT;
    };
    sqlite3_update_hook(session.db, changed, &session);
    if (settings.confined) {
        ConfineSqlite(session, settings.confinement);
    }
}

SqliteConnection::SqliteConnection(const SqliteSettings& settings, SqliteOpener open)
    : settings_(settings), open_(open), opened_(std::make_unique<Opened>(settings, open)) {}

std::shared_ptr<Statement> SqliteConnection::Prepare(const std::string& text) {
    std::shared_ptr<Statement> cached = opened_->cache.Find(text);
    if (!cached) {
        const auto made = std::make_shared<SqliteStatement>(opened_->session, text, true);
        opened_->cache.Add(text, made, text.size() + made->MemoryBytes());
        cached = made;
    }
    return cached;
}

std::shared_ptr<Statement> SqliteConnection::PrepareAlone(const std::string& text) {
    return std::make_shared<SqliteStatement>(opened_->session, text, false);
}

std::shared_ptr<Statement> SqliteConnection::PrepareScript(const std::string& text) {
    if (std::shared_ptr<Statement> statement = opened_->cache.Find(text)) {
        return statement;
    }
    std::vector<std::string_view> statements = SplitStatements(text, kSqliteDialect);
    if (statements.size() > 1) {
        return std::make_shared<SqliteScript>(*this, std::move(statements));
    }
    return Prepare(text);
}

QXCounts SqliteConnection::RunOnce(std::string_view statement) {
    return SqliteStatement(opened_->session, statement, false).Execute({});
}

void SqliteConnection::Begin(TransactionKind kind) {
    // A transaction that will write asks for the write lock at once: one that asks later can't be
    // made to wait for it, and would fail instead.
    RunOnce(kind == TransactionKind::Write ? "BEGIN IMMEDIATE" : "BEGIN");
}

void SqliteConnection::BeginLasting(const QXTransactionInfo& info) {
    IsolationText(info.isolation);  // which checks it
    const bool lock = info.isolation == QXISOLATION_SERIALIZABLE && !info.readOnly;
    Begin(lock ? TransactionKind::Write : TransactionKind::Read);
    opened_->session.readOnly = info.readOnly;
}

bool SqliteConnection::Recover() noexcept {
    opened_->session.timer.EndCall();
    return InTransaction();
}

void SqliteConnection::Commit() {
    RunOnce("COMMIT");
    opened_->session.readOnly = false;
}

void SqliteConnection::Rollback() noexcept {
    opened_->session.timer.EndCall();  // or it would be cancelled too
    opened_->session.readOnly = false;
    if (InTransaction()) {
        const SqliteHeap::Scope scope(opened_->session.Heap());
        sqlite3_exec(opened_->session.db, "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

bool SqliteConnection::InTransaction() noexcept {
    return sqlite3_get_autocommit(opened_->session.db) == 0;
}

bool SqliteConnection::Alive() noexcept {
    // A file that was deleted or replaced would take further changes and lose them.
    int moved = 0;
    const int code =
        sqlite3_file_control(opened_->session.db, "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    return code != SQLITE_OK || moved == 0;
}

bool SqliteConnection::Reset() noexcept {
    try {
        if (!settings_.Private()) {
            // The old one is closed last: with a file's last connection its write-ahead log would
            // go, and come back with the new one.
            opened_ = std::make_unique<Opened>(settings_, open_);
            return true;
        }
        if (settings_.confined) {
            opened_->cache.Clear();
            DropTemporaryObjects();
            opened_->cache.Clear();
            sqlite3_set_last_insert_rowid(opened_->session.db, 0);
        }
        return settings_.confined;
    } catch (...) {
        return false;
    }
}

bool SqliteConnection::Usable() noexcept {
    opened_->session.timer.EndCall();
    return !InTransaction();  // else a rollback has failed
}

void SqliteConnection::DropTemporaryObjects() {
    // A virtual table goes first, and takes along the tables behind it, which nobody else may drop.
    static const std::string kDrops =
        "SELECT printf('DROP %s IF EXISTS temp.\"%w\"', type, name) FROM temp.sqlite_schema "
        "WHERE type <> 'index' AND (name NOT LIKE 'sqlite^_%' ESCAPE '^' OR name = 'sqlite_stat1') "
        "ORDER BY type = 'table', rootpage <> 0";
    QXRecordset drops;
    Prepare(kDrops)->Query({}, Page(), drops);
    for (std::size_t row = 0; row < drops.RowCount(); ++row) {
        RunOnce(drops.GetTextUtf8(row, 0));
    }
}

}  // namespace CQXDB::adapter::sqlite
