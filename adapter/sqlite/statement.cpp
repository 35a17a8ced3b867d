#include "adapter/sqlite/statement.h"

#include <climits>

#include "adapter/portion.h"
#include "adapter/sqlite/errors.h"
#include "adapter/sqlite/rows.h"
#include "adapter/statement_checks.h"
#include "adapter/statement_text.h"

namespace CQXDB::adapter::sqlite {
namespace {

constexpr std::size_t kBytesBetweenChecks = std::size_t{64} << 10;
constexpr std::size_t kRowBytes = 256;  ///< for a row's numbers; most rows have fewer

/// SQLite looks at no timer while it prepares. What takes long there takes memory too.
class Preparing {
  public:
    explicit Preparing(SqliteSession& session) noexcept : session_(session) { Set(true); }
    Preparing(const Preparing&) = delete;
    Preparing& operator=(const Preparing&) = delete;
    ~Preparing() { Set(false); }

  private:
    void Set(bool preparing) noexcept {
        session_.preparing = preparing;
        session_.heap.SetTimer(preparing ? &session_.timer : nullptr);
    }

    SqliteSession& session_;
};

}  // namespace

/// One execution: bound at its start, reset at its end.
class SqliteStatement::Run {
  public:
    Run(SqliteStatement& statement, const Parameters& parameters) : Run(statement) {
        CheckParameterCount(statement.binder_->Count(), parameters.size());
        statement.binder_->Bind(parameters);
    }
    Run(SqliteStatement& statement, const ParameterRow& parameters) : Run(statement) {
        CheckParameterCount(statement.binder_->Count(), parameters.columns.size());
        statement.binder_->Bind(parameters.columns, parameters.row);
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run() {
        sqlite3_reset(statement_.handle_.get());
        statement_.binder_->Done();
    }

  private:
    explicit Run(SqliteStatement& statement)
        : scope_(statement.session_.Heap()), statement_(statement) {
        statement.session_.timer.Start();
        if (statement.session_.readOnly && sqlite3_stmt_readonly(statement.handle_.get()) == 0) {
            throw DatabaseError(SQLITE_READONLY, sqlite3_errstr(SQLITE_READONLY));
        }
    }

    const SqliteHeap::Scope scope_;
    SqliteStatement& statement_;
};

SqliteStatement::SqliteStatement(SqliteSession& session, std::string_view text, bool keep)
    : session_(session) {
    const SqliteHeap::Scope scope(session.Heap());
    session.timer.Start();
    const Preparing preparing(session);
    Prepare(text, keep);
}

SqliteStatement::~SqliteStatement() {
    const SqliteHeap::Scope scope(session_.Heap());
    handle_.reset();
}

void SqliteStatement::Prepare(std::string_view text, bool keep) {
    if (text.size() > INT_MAX) {
        throw DatabaseError(SQLITE_TOOBIG, sqlite3_errstr(SQLITE_TOOBIG));
    }
    sqlite3_stmt* handle = nullptr;
    const char* tail = nullptr;
    Check(sqlite3_prepare_v3(session_.db, text.data(), static_cast<int>(text.size()),
                             keep ? SQLITE_PREPARE_PERSISTENT : 0, &handle, &tail));
    handle_.reset(handle);
    if (!handle_) {
        RefuseEmptyStatement();
    }
    text.remove_prefix(static_cast<std::size_t>(tail - text.data()));
    if (!SplitStatements(text, kSqliteDialect).empty()) {
        RefuseSeveralStatements();
    }
    binder_.emplace(session_.db, handle);
}

std::size_t SqliteStatement::MemoryBytes() const noexcept {
    return static_cast<std::size_t>(
        sqlite3_stmt_status(handle_.get(), SQLITE_STMTSTATUS_MEMUSED, 0));
}

void SqliteStatement::Check(int code) {
    const int kind = code & 0xff;
    if ((kind == SQLITE_NOMEM || kind == SQLITE_AUTH) && session_.timer.Over()) {
        throw DatabaseError(SQLITE_INTERRUPT, sqlite3_errstr(SQLITE_INTERRUPT));
    }
    CheckSqlite(session_.db, code);
}

bool SqliteStatement::Step() {
    const int code = sqlite3_step(handle_.get());
    Check(code);
    return code == SQLITE_ROW;
}

QXCounts SqliteStatement::RunToEnd() {
    sqlite3* const db = session_.db;
    const std::int64_t before = sqlite3_total_changes64(db);
    session_.inserted = false;
    while (Step()) {
    }
    QXCounts counts;
    // Else SQLite still tells those of an earlier statement.
    if (sqlite3_total_changes64(db) != before) {
        counts.rowsAffected = sqlite3_changes64(db);
    }
    counts.lastInsertId = session_.inserted ? sqlite3_last_insert_rowid(db) : 0;
    return counts;
}

QXCounts SqliteStatement::Execute(const Parameters& parameters) {
    const Run run(*this, parameters);
    return RunToEnd();
}

void SqliteStatement::ExecuteRowSoon(const ParameterRow& parameters, QXCountList& counts) {
    const Run run(*this, parameters);
    counts.Add(RunToEnd());
}

void SqliteStatement::Query(const Parameters& parameters, const Page& page, QXRecordset& rs) {
    const Run run(*this, parameters);
    bool row = Step();
    SqliteRowReader reader(handle_.get(), rs);
    for (std::int64_t i = 0; row && i < page.first; ++i) {
        row = Step();
    }
    Page rest = page;
    std::size_t unchecked = 0;
    for (std::int64_t i = 0; row && i < page.count; ++i) {
        if (page.sink != nullptr && unchecked == 0 && i != 0 && page.sink->Full(rs)) {
            rest.bytesBefore += rs.MemoryBytes();
            page.sink->take(reader.TakePart());
        }
        // The columns' memory is added up now and then only: many small rows would pay for it.
        unchecked += kRowBytes + reader.Append();
        if (unchecked >= kBytesBetweenChecks) {
            rest.CheckBytes(rs);
            unchecked = 0;
        }
        row = i + 1 < page.count && Step();
    }
    rest.CheckBytes(rs);
    // Ending early can fail too: a statement that changed rows commits only now.
    Check(sqlite3_reset(handle_.get()));
}

/// Holds the parameters, which the statement looks at as long as it runs.
class SqliteStatement::Cursor : public RowCursor {
  public:
    Cursor(SqliteStatement& statement, const Parameters& parameters)
        : statement_(statement), parameters_(parameters) {
        const Call call(statement_);
        CheckParameterCount(statement.binder_->Count(), parameters.size());
        statement.binder_->Bind(parameters_);
        try {
            row_ = statement.Step();
            portion_.emplace(
                [this](QXRecordset& rows) { reader_.emplace(statement_.handle_.get(), rows); });
        } catch (...) {
            End();
            throw;
        }
    }
    Cursor(const Cursor&) = delete;
    Cursor& operator=(const Cursor&) = delete;
    ~Cursor() override {
        const SqliteHeap::Scope scope(statement_.session_.Heap());
        End();
    }

    void Fetch(const Page& page, QXRecordset& rs) override {
        const Call call(statement_);
        const auto next = [this] {
            const bool appended = row_;
            if (appended) {
                reader_->Append();
                row_ = false;  // should the step fail
                row_ = statement_.Step();
            }
            return appended;
        };
        portion_->Fill(page, next, rs);
    }

  private:
    struct Call {
        explicit Call(SqliteStatement& statement) : scope(statement.session_.Heap()) {
            statement.session_.timer.Start();
        }
        const SqliteHeap::Scope scope;
    };

    void End() noexcept {
        sqlite3_reset(statement_.handle_.get());
        statement_.binder_->Done();
    }

    SqliteStatement& statement_;
    const Parameters parameters_;
    bool row_ = false;  ///< the statement stands on one
    std::optional<SqliteRowReader> reader_;
    std::optional<Portion> portion_;
};

std::unique_ptr<RowCursor> SqliteStatement::OpenCursor(const Parameters& parameters) {
    return std::make_unique<Cursor>(*this, parameters);
}

}  // namespace CQXDB::adapter::sqlite
