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

QXCounts SqliteScript::Execute(const Parameters& parameters) {
    if (!parameters.empty()) {
        Refuse();
    }
    return RunsAsItStands(connection_, statements_) ? RunFrom(0) : RunAsTransaction();
}

void SqliteScript::Query(const Parameters&, const Page&, QXRecordset&) {
    Refuse();
}

std::vector<QXColumnInfo> SqliteScript::Describe() {
    Refuse();
}

std::unique_ptr<RowCursor> SqliteScript::OpenCursor(const Parameters&) {
    Refuse();
}

QXCounts SqliteScript::RunFrom(std::size_t first) {
    QXCounts counts;
    for (std::size_t i = first; i < statements_.size(); ++i) {
        try {
            counts += connection_.RunOnce(statements_[i]);
        } catch (const DatabaseError& error) {
            throw DatabaseError(error.Code(), std::string(error.what()) + " (statement " +
                                                  std::to_string(i + 1) + " of the script)");
        }
    }
    return counts;
}

QXCounts SqliteScript::RunAsTransaction() {
    std::size_t first = 0;
    while (first < statements_.size() && BelongsBeforeTransaction(statements_[first])) {
        connection_.RunOnce(statements_[first++]);
    }
    if (first == statements_.size()) {
        return {};
    }
    connection_.Begin(TransactionKind::Write);
    const QXCounts counts = RunFrom(first);
    connection_.Commit();
    return counts;
}

}  // namespace CQXDB::adapter::sqlite
