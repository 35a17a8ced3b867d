#include "adapter/odbc/statement.h"

#include <cstdint>
#include <vector>

#include "adapter/fetch_page.h"
#include "adapter/odbc/connection.h"
#include "adapter/odbc/parameters.h"
#include "adapter/odbc/rows.h"
#include "adapter/odbc/text.h"
#include "adapter/run_script.h"
#include "adapter/statement_checks.h"
#include "adapter/statement_text.h"

namespace CQXDB::adapter::odbc {
namespace {

std::size_t CountParameters(const std::string& text, const SqlDialect& dialect) {
    const NativeText native = ToNative(text, dialect, ParameterStyle::QuestionMark);
    if (native.literalQuestionMark) {
        throw DatabaseError(DBMGR_BAD_VALUE,
                            "ODBC has no way to write a literal question mark outside of quotes");
    }
    return native.parameters;
}

}  // namespace

OdbcStatement::OdbcStatement(OdbcConnection& connection, const std::string& text, bool script)
    : connection_(connection),
      text_(text),
      script_(script),
      parameterCount_(CountParameters(text, connection.Dialect())),
      handle_(connection.Native()) {
    if (connection.StatementSeconds() != 0) {
        SQLSetStmtAttrW(handle_, SQL_ATTR_QUERY_TIMEOUT, OdbcNumber(connection.StatementSeconds()),
                        SQL_IS_UINTEGER);
    }
}

void OdbcStatement::Check(SQLRETURN code) {
    connection_.Check(handle_, code);
}

QXCounts OdbcStatement::Execute(const Parameters& parameters) {
    const OdbcConnection::Running running(connection_, handle_);
    if (script_ && parameters.empty()) {
        CheckParameterCount(parameterCount_, 0);
        return RunScript();
    }
    Start(parameters);
    QXCounts counts = Counts();
    counts += Finish();
    return counts;
}

QXCounts OdbcStatement::Counts() {
    SQLSMALLINT columns = 0;
    SQLLEN rows = -1;
    Check(SQLNumResultCols(handle_, &columns));
    Check(SQLRowCount(handle_, &rows));
    if (columns != 0 && LooksReadOnly(text_, connection_.Dialect())) {
        rows = 0;  // what the driver tells is what was found
    }
    return {rows, 0};
}

void OdbcStatement::QueryEach(const Parameters& parameters, const Page& page, QXRsList& out) {
    const OdbcConnection::Running running(connection_, handle_);
    Start(parameters);
    Page rest = page;
    const std::size_t before = out.Count();
    do {
        QXRecordset rs;
        OdbcRowReader reader(connection_, handle_, rs);
        FetchPage(reader, rest, rs);
        rest.bytesBefore += rs.MemoryBytes();
        // Between those of a procedure some drivers give results without columns.
        if (rs.ColumnCount() != 0) {
            rs.FillDone();
            out.Add(std::move(rs));
        }
    } while (Next());
    if (out.Count() == before) {
        out.Add(QXRecordset());
    }
}

void OdbcStatement::Query(const Parameters& parameters, const Page& page, QXRecordset& rs) {
    const OdbcConnection::Running running(connection_, handle_);
    LimitRows(page);
    Start(parameters);
    OdbcRowReader reader(connection_, handle_, rs);
    FetchPage(reader, page, rs);
    Finish();
}

void OdbcStatement::LimitRows(const Page& page) {
    if (page.All() || !LooksReadOnly(text_, connection_.Dialect())) {
        return;
    }
    // A hint, which not every driver takes; what comes behind the page is not fetched anyway.
    const auto rows = static_cast<std::uintptr_t>(page.first + page.count);
    SQLSetStmtAttrW(handle_, SQL_ATTR_MAX_ROWS, OdbcNumber(rows), SQL_IS_UINTEGER);
}

void OdbcStatement::Prepare() {
    const std::vector<std::string_view> statements = SplitStatements(text_, connection_.Dialect());
    if (statements.size() > 1) {
        RefuseSeveralStatements();
    }
    connection_.Watch(text_);
    // Without what surrounds it, in which some drivers look for more statements and parameters.
    OdbcText sql = ToOdbcText(statements.at(0));
    Check(SQLPrepareW(handle_, sql.data(), static_cast<SQLINTEGER>(sql.size())));
    prepared_ = true;
}

void OdbcStatement::Start(const Parameters& parameters) {
    CheckParameterCount(parameterCount_, parameters.size());
    if (!prepared_) {
        Prepare();
    }
    const OdbcParameters bound(connection_, handle_, parameters);
    connection_.CheckCancelled();
    connection_.CheckRun(handle_, SQLExecute(handle_));
}

QXCounts OdbcStatement::RunText(std::string_view text) {
    OdbcText sql = ToOdbcText(text);
    connection_.CheckCancelled();
    connection_.CheckRun(handle_,
                         SQLExecDirectW(handle_, sql.data(), static_cast<SQLINTEGER>(sql.size())));
    QXCounts counts = Counts();
    counts += Finish();
    return counts;
}

QXCounts OdbcStatement::RunScript() {
    QXCounts counts;
    const std::vector<std::string_view> statements = SplitStatements(text_, connection_.Dialect());
    adapter::RunScript(connection_, statements, [&] {
        connection_.Watch(text_);
        if (connection_.OneStatementATime()) {
            for (const std::string_view statement : statements) {
                counts += RunText(statement);
            }
        } else {
            counts = RunText(text_);
        }
    });
    return counts;
}

bool OdbcStatement::Next() {
    const SQLRETURN code = SQLMoreResults(handle_);
    connection_.CheckRun(handle_, code);
    if (code == SQL_NO_DATA) {
        SQLFreeStmt(handle_, SQL_CLOSE);
    }
    return code != SQL_NO_DATA;
}

QXCounts OdbcStatement::Finish() {
    QXCounts counts;
    while (Next()) {
        counts += Counts();
    }
    return counts;
}

}  // namespace CQXDB::adapter::odbc
