#include "cli/script/portioned_query.h"

#include <qxdb/DBMgrErrors.h>

#include "cli/script/statement_kind.h"

namespace CQXCLI::script {

PortionedQuery::PortionedQuery(Session& session, std::string sql,
                               std::vector<CQXDB::QXValue> parameters, long rows)
    : session_(session), rows_(rows), portions_(rows != 0 && OnlyReads(session.SqlDialect(), sql)) {
    command_.SetTextUtf8(std::move(sql));
    for (CQXDB::QXValue& value : parameters) {
        command_.AddParam(std::move(value));
    }
}

Answer PortionedQuery::Run(CQXDB::QXRecordset& rs) {
    if (portions_) {
        const Answer opened = session_.OpenCursor(command_, cursor_);
        if (opened.code != CQXDB::DBMGR_NO_CURSOR) {
            return opened.Ok() ? Next(rs) : opened;
        }
    }
    return session_.Query(command_, rs);
}

Answer PortionedQuery::Next(CQXDB::QXRecordset& rs) {
    return session_.Fetch(cursor_, rs, rows_);
}

}  // namespace CQXCLI::script
