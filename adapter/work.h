// The managers' operations on a connection; the same for every database. All throw DatabaseError
// and may leave a transaction open then.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <qxdb/Cancellation.h>
#include <qxdb/QXCommandList.h>
#include <qxdb/QXRsList.h>

#include "adapter/connection.h"

namespace CQXDB::adapter {

// What the commands changed is added to `counts`, which outlives the connection's use.
void Execute(Connection& connection, const QXCommand& command, QXCountList& counts);

// Between the commands of a list they look whether they are cancelled; `cancellation` may be null.
void Execute(Connection& connection, const QXCommandList& list, const Cancellation* cancellation,
             QXCountList& counts);

// `maxBytes` bounds the memory of all rows that the call brings; 0 is no bound.
void OpenQuery(Connection& connection, const QXCommand& command, QXRecordset& rs,
               std::size_t maxBytes, const RowSink* sink);
void OpenQuery(Connection& connection, const QXCommandList& list, QXRecordset& rs,
               std::size_t maxBytes, const Cancellation* cancellation);
void BatchQry(Connection& connection, const QXCommandList& list, QXRsList& out,
              std::size_t maxBytes, const Cancellation* cancellation);

/// Runs nothing.
std::vector<QXColumnInfo> Describe(Connection& connection, const QXCommand& command);

/// A query whose rows are taken in portions, in the transaction that the connection is in. Lives no
/// longer than that.
class OpenedCursor {
  public:
    OpenedCursor(Connection& connection, const QXCommand& command);

    /// The next portion, of at most so many rows as the page size says; see RowCursor.
    void Fetch(QXRecordset& rs, std::size_t maxBytes);

  private:
    static constexpr std::int64_t kPortionRows = 1000;  ///< unless told

    const std::shared_ptr<const std::string> text_;
    std::shared_ptr<Statement> statement_;
    std::unique_ptr<RowCursor> rows_;
};

}  // namespace CQXDB::adapter
