// The managers' operations on a connection; the same for every database. All throw DatabaseError
// and may leave a transaction open then.
#pragma once

#include <qxdb/QXCommandList.h>
#include <qxdb/QXRsList.h>

#include "adapter/connection.h"

namespace CQXDB::adapter {

void Execute(Connection& connection, const QXCommand& command);
void Execute(Connection& connection, const QXCommandList& list);
void OpenQuery(Connection& connection, const QXCommand& command, QXRecordset& rs);
void OpenQuery(Connection& connection, const QXCommandList& list, QXRecordset& rs);
void BatchQry(Connection& connection, const QXCommandList& list, QXRsList& out);

}  // namespace CQXDB::adapter
