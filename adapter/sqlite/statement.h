// One prepared SQLite statement.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

#include <sqlite3.h>

#include "adapter/connection.h"
#include "adapter/sqlite/guard.h"
#include "adapter/sqlite/parameters.h"

namespace CQXDB::adapter::sqlite {

class SqliteStatement : public Statement {
  public:
    /// Compiles exactly one statement; `text` is what SQLite gets to see.
    SqliteStatement(sqlite3* db, SqliteTimer& timer, std::string_view text, bool keep);

    void Execute(const Parameters& parameters) override;
    void ExecuteRowSoon(const ParameterRow& parameters) override;
    void Query(const Parameters& parameters, const Page& page, QXRecordset& rs) override;

  private:
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
    };
    class Run;

    bool Step();

    sqlite3* db_;
    SqliteTimer& timer_;
    std::unique_ptr<sqlite3_stmt, Finalizer> handle_;
    std::optional<SqliteBinder> binder_;
};

}  // namespace CQXDB::adapter::sqlite
