#include "adapter/postgresql/statement.h"

#include <algorithm>
#include <cstdint>
#include <functional>

#include "adapter/database_error.h"
#include "adapter/postgresql/connection.h"
#include "adapter/postgresql/parameters.h"
#include "adapter/postgresql/rows.h"
#include "adapter/statement_checks.h"

namespace CQXDB::adapter::postgresql {
namespace {

constexpr std::int64_t kMostInOneMove = INT32_MAX;
constexpr std::int64_t kMostRows = 16 * kMostInOneMove;

/// MOVE counts in 32 bits.
std::string MoveTo(std::int64_t row) {
    if (row > kMostRows) {
        return "MOVE FORWARD ALL IN qx_page; ";
    }
    std::string text;
    for (; row > 0; row -= std::min(row, kMostInOneMove)) {
        text += "MOVE FORWARD " + std::to_string(std::min(row, kMostInOneMove)) + " IN qx_page; ";
    }
    return text;
}

}  // namespace

PgStatement::PgStatement(PgConnection& connection, const std::string& text, bool script)
    : connection_(connection),
      native_(ToNative(text, kPostgreSqlDialect, ParameterStyle::DollarNumber)),
      script_(script) {}

PgStatement::~PgStatement() {
    connection_.Forget(this);
}

bool PgStatement::RanAsScript(const Parameters& parameters) {
    CheckParameterCount(native_.parameters, parameters.size());
    const bool runs = script_ && parameters.empty();
    if (runs) {
        connection_.RunText(native_.sql);
    }
    return runs;
}

QXCounts PgStatement::Execute(const Parameters& parameters) {
    if (!RanAsScript(parameters)) {
        connection_.RunStatement(this, native_.sql, PgParameters(parameters));
    }
    return connection_.Counts();
}

void PgStatement::ExecuteSoon(const Parameters& parameters, QXCountList& counts) {
    if (RanAsScript(parameters)) {
        counts.Add(connection_.Counts());
    } else {
        connection_.SendStatement(this, native_.sql, PgParameters(parameters), counts);
    }
}

void PgStatement::Query(const Parameters& parameters, const Page& page, QXRecordset& rs) {
    CheckParameterCount(native_.parameters, parameters.size());
    if (page.All() || !LooksReadOnly(native_.sql, kPostgreSqlDialect)) {
        QueryAll(parameters, page, rs);
    } else {
        QueryPage(parameters, page, rs);
    }
}

void PgStatement::QueryAll(const Parameters& parameters, const Page& page, QXRecordset& rs) {
    // Parsed anew each time: a result whose columns have changed since would be refused.
    connection_.Forget(this);
    PgPageReader reader(page, page.first, rs);
    connection_.RunStatement(this, native_.sql, PgParameters(parameters), std::ref(reader));
}

void PgStatement::QueryPage(const Parameters& parameters, const Page& page, QXRecordset& rs) {
    // A cursor computes no more rows than it is asked for, and keeps order, names and parameters.
    const bool own = !connection_.InTransaction();
    if (own) {
        connection_.Begin(TransactionKind::Read);
    }
    connection_.RunStatement(this, "DECLARE qx_page NO SCROLL CURSOR FOR " + native_.sql,
                             PgParameters(parameters));
    connection_.Forget(this);
    PgPageReader reader(page, 0, rs);
    connection_.RunText(MoveTo(page.first) + "FETCH FORWARD " + std::to_string(page.count) +
                            " FROM qx_page; CLOSE qx_page" + (own ? "; COMMIT" : ""),
                        std::ref(reader));
}

}  // namespace CQXDB::adapter::postgresql
