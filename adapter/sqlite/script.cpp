#include "adapter/sqlite/script.h"

#include <string>
#include <utility>

#include "adapter/database_error.h"
#include "adapter/run_script.h"
#include "adapter/sqlite/connection.h"
#include "adapter/statement_text.h"

namespace CQXDB::adapter::sqlite {
namespace {

bool BelongsBeforeTransaction(std::string_view statement) {
    const std::string word = FirstWord(statement, kSqliteDialect);
    return word == "PRAGMA" || word == "ATTACH" || word == "DETACH" || word == "VACUUM";
}

[[noreturn]] void Refuse() {
    throw DatabaseError(DBMGR_SEVERAL_STATEMENTS,
                        "a text of several statements takes no parameters and gives no rows");
}

}  // namespace

SqliteScript::SqliteScript(SqliteConnection& connection, std::vector<std::string_view> statements)
    : connection_(connection), statements_(std::move(statements)) {}

void SqliteScript::Execute(const Parameters& parameters) {
    if (!parameters.empty()) {
        Refuse();
    }
    RunsAsItStands(connection_, statements_) ? RunFrom(0) : RunAsTransaction();
}

void SqliteScript::Query(const Parameters&, const Page&, QXRecordset&) {
    Refuse();
}

void SqliteScript::RunFrom(std::size_t first) {
    for (std::size_t i = first; i < statements_.size(); ++i) {
        try {
            connection_.RunOnce(statements_[i]);
        } catch (const DatabaseError& error) {
            throw DatabaseError(error.Code(), std::string(error.what()) + " (statement " +
                                                  std::to_string(i + 1) + " of the script)");
        }
    }
}

void SqliteScript::RunAsTransaction() {
    std::size_t first = 0;
    while (first < statements_.size() && BelongsBeforeTransaction(statements_[first])) {
        connection_.RunOnce(statements_[first++]);
    }
    if (first == statements_.size()) {
        return;
    }
    connection_.Begin(TransactionKind::Write);
    RunFrom(first);
    connection_.Commit();
}

}  // namespace CQXDB::adapter::sqlite
