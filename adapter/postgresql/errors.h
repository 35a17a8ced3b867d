// PostgreSQL's errors as DatabaseError.
#pragma once

#include <libpq-fe.h>

#include <qxdb/QXCounts.h>

#include "adapter/call_report.h"
#include "adapter/database_error.h"

namespace CQXDB::adapter::postgresql {

/// The error of a failed result, which may be null: the SQLSTATE, the message and its detail and
/// hint.
DatabaseError PgError(PGconn* connection, const PGresult* result);
/// The error of a connection that could not be made.
DatabaseError PgConnectError(PGconn* connection);

/// What a command's result says that it changed; nothing for null.
QXCounts PgCounts(PGresult* result);

void AddPgNotice(CallReport& report, const PGresult* notice);

}  // namespace CQXDB::adapter::postgresql
