// The managers' operations on a connection; the same for every database. All throw DatabaseError
// and may leave a transaction open then.
#pragma once

#include <cstddef>

#include <qxdb/QXCommandList.h>
#include <qxdb/QXRsList.h>

#include "adapter/connection.h"

namespace CQXDB::adapter {

void Execute(Connection& connection, const QXCommand& command);
void Execute(Connection& connection, const QXCommandList& list);

// `maxBytes` bounds the memory of all rows that the call brings; 0 is no bound.
void OpenQuery(Connection& connection, const QXCommand& command, QXRecordset& rs,
               std::size_t maxBytes, const RowSink* sink);
void OpenQuery(Connection& connection, const QXCommandList& list, QXRecordset& rs,
               std::size_t maxBytes);
void BatchQry(Connection& connection, const QXCommandList& list, QXRsList& out,
              std::size_t maxBytes);

}  // namespace CQXDB::adapter
