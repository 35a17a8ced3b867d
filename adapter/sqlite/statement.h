// One prepared SQLite statement.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

#include <sqlite3.h>

#include "adapter/connection.h"
#include "adapter/sqlite/parameters.h"
#include "adapter/sqlite/session.h"

namespace CQXDB::adapter::sqlite {

class SqliteStatement : public Statement {
  public:
    /// Compiles exactly one statement; `text` is what SQLite gets to see.
    SqliteStatement(SqliteSession& session, std::string_view text, bool keep);
    ~SqliteStatement() override;

    /// What it holds of SQLite's memory.
    std::size_t MemoryBytes() const noexcept;

    QXCounts Execute(const Parameters& parameters) override;
    void ExecuteRowSoon(const ParameterRow& parameters, QXCountList& counts) override;
    void Query(const Parameters& parameters, const Page& page, QXRecordset& rs) override;
    std::vector<QXColumnInfo> Describe() override;
    std::unique_ptr<RowCursor> OpenCursor(const Parameters& parameters) override;

  private:
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
    };
    class Run;
    class Cursor;

    void Prepare(std::string_view text, bool keep);
    QXCounts RunToEnd();
    /// Throws the error that `code` is, if any. Out of time, SQLite is refused memory and
    /// permission.
    void Check(int code);
    bool Step();

    SqliteSession& session_;
    std::unique_ptr<sqlite3_stmt, Finalizer> handle_;
    std::optional<SqliteBinder> binder_;
};

}  // namespace CQXDB::adapter::sqlite
