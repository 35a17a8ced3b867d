#include "adapter/mysql/statement.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include <Poco/Exception.h>

#include "adapter/fetch_page.h"
#include "adapter/mysql/connection.h"
#include "adapter/mysql/errors.h"
#include "adapter/mysql/parameters.h"
#include "adapter/mysql/rows.h"
#include "adapter/statement_checks.h"
#include "adapter/statement_text.h"

namespace CQXDB::adapter::mysql {
namespace {

/// Has the server stop a query without a LIMIT of its own behind the page; and for one with a
/// LIMIT, keep the rows and send only those that are fetched.
class PageLimit {
  public:
    PageLimit(MySqlConnection& connection, MYSQL_STMT* statement, const Page& page)
        : connection_(connection) {
        const auto rows = static_cast<unsigned long>(std::min<std::int64_t>(page.count, 10000));
        mysql_stmt_attr_set(statement, STMT_ATTR_PREFETCH_ROWS, &rows);
        connection.RunText("SET sql_select_limit = " + std::to_string(page.first + page.count));
        const unsigned long cursor = CURSOR_TYPE_READ_ONLY;
        mysql_stmt_attr_set(statement, STMT_ATTR_CURSOR_TYPE, &cursor);
    }
    PageLimit(const PageLimit&) = delete;
    PageLimit& operator=(const PageLimit&) = delete;
    ~PageLimit() {
        try {
            connection_.RunText("SET sql_select_limit = DEFAULT");
        } catch (...) {
            connection_.GiveUp();
        }
    }

  private:
    MySqlConnection& connection_;
};

}  // namespace

MySqlStatement::MySqlStatement(MySqlConnection& connection, const std::string& text)
    : connection_(connection),
      readOnly_(LooksReadOnly(text, connection.Dialect())),
      executor_(connection.Handle()) {
    try {
        executor_.prepare(text);
    } catch (const Poco::Exception&) {
        Fail();
    }
}

void MySqlStatement::Fail() {
    throw MySqlError(connection_.Handle(), executor_);
}

void MySqlStatement::Run(const Parameters& parameters) {
    CheckParameterCount(mysql_stmt_param_count(executor_), parameters.size());
    MySqlParameters bound(parameters);
    connection_.CheckCancelled();
    try {
        executor_.bindParams(bound.Data(), parameters.size());
        executor_.execute();
    } catch (const Poco::Exception&) {
        Fail();
    }
}

QXCounts MySqlStatement::Execute(const Parameters& parameters) {
    Run(parameters);
    QXCounts counts = Counts();
    counts += Finish();
    return counts;
}

QXCounts MySqlStatement::Counts() {
    if (mysql_stmt_field_count(executor_) != 0) {
        return {readOnly_ ? 0 : -1, 0};  // of RETURNING nobody counts the rows
    }
    return {static_cast<std::int64_t>(mysql_stmt_affected_rows(executor_)),
            static_cast<std::int64_t>(mysql_stmt_insert_id(executor_))};
}

void MySqlStatement::Query(const Parameters& parameters, const Page& page, QXRecordset& rs) {
    std::optional<PageLimit> limit;
    if (!page.All() && readOnly_) {
        limit.emplace(connection_, executor_, page);
    }
    Run(parameters);
    QueryOne(page, rs);
    Finish();
}

void MySqlStatement::QueryOne(const Page& page, QXRecordset& rs) {
    MySqlRowReader reader(connection_.Handle(), executor_, rs);
    try {
        FetchPage(reader, page, rs);
    } catch (...) {
        connection_.EndStatement();  // Else all other rows are read before it can be closed.
        throw;
    }
}

void MySqlStatement::QueryEach(const Parameters& parameters, const Page& page, QXRsList& out) {
    Run(parameters);
    Page rest = page;
    const std::size_t before = out.Count();
    do {
        QXRecordset rs;
        QueryOne(rest, rs);
        rest.bytesBefore += rs.MemoryBytes();
        // A procedure ends with a result of its own, which has no columns.
        if (rs.ColumnCount() != 0) {
            rs.FillDone();
            out.Add(std::move(rs));
        }
    } while (Next());
    if (out.Count() == before) {
        out.Add(QXRecordset());
    }
}

bool MySqlStatement::Next() {
    const unsigned before = mysql_stmt_warning_count(executor_);
    mysql_stmt_free_result(executor_);
    connection_.CollectWarnings(std::max(before, connection_.WarningsBehindRows()));
    const int more = mysql_stmt_next_result(executor_);
    if (more > 0) {
        Fail();
    }
    return more == 0;
}

QXCounts MySqlStatement::Finish() {
    QXCounts counts;
    while (Next()) {
        counts += Counts();
    }
    return counts;
}

}  // namespace CQXDB::adapter::mysql
