// The managers' operations on a connection; the same for every database. All throw DatabaseError
// and may leave a transaction open then.
#pragma once

#include <cstddef>

#include <qxdb/Cancellation.h>
#include <qxdb/QXCommandList.h>
#include <qxdb/QXRsList.h>

#include "adapter/connection.h"

namespace CQXDB::adapter {

void Execute(Connection& connection, const QXCommand& command);

// Between the commands of a list they look whether they are cancelled; `cancellation` may be null.
void Execute(Connection& connection, const QXCommandList& list, const Cancellation* cancellation);

// `maxBytes` bounds the memory of all rows that the call brings; 0 is no bound.
void OpenQuery(Connection& connection, const QXCommand& command, QXRecordset& rs,
               std::size_t maxBytes, const RowSink* sink);
void OpenQuery(Connection& connection, const QXCommandList& list, QXRecordset& rs,
               std::size_t maxBytes, const Cancellation* cancellation);
void BatchQry(Connection& connection, const QXCommandList& list, QXRsList& out,
              std::size_t maxBytes, const Cancellation* cancellation);

}  // namespace CQXDB::adapter
