// Results that are larger than memory: rows in portions, in order, from one execution.
#pragma once

#include <memory>
#include <string>

#include <qxdb/Export.h>
#include <qxdb/QXRecordset.h>

namespace CQXDB {

class DBAgent;

/// A query that DBAgent::OpenCursor has run, and whose rows are taken from it portion by portion.
/// Neither this process nor the application server holds more than a portion.
///
///     QXCursor cursor;
///     agent.OpenCursor(code, text, query, cursor);
///     QXRecordset rows;
///     while (cursor.IsOpen()) {
///         cursor.Fetch(code, text, rows);
///         ... rows, code ...
///     }
///
/// Belongs to the agent's thread and must not outlive the agent. Outside of a transaction of the
/// agent's it has one of its own, for which the rules and the server's limits of DBAgent::Begin
/// hold; in one it ends with that. Other calls of the agent may come between the portions.
class QXDB_AGENT_API QXCursor {
  public:
    /// One that is not open.
    QXCursor() noexcept;
    QXCursor(QXCursor&& other) noexcept;
    /// Closes what was open before.
    QXCursor& operator=(QXCursor&& other) noexcept;
    QXCursor(const QXCursor&) = delete;
    QXCursor& operator=(const QXCursor&) = delete;
    /// Closes it.
    ~QXCursor();

    /// Until all rows were fetched, a fetch has failed, or it was closed.
    bool IsOpen() const noexcept { return state_ != nullptr; }

    /// Fills `rs` with the rows that come next: `rows` of them (from 1), or fewer when they take
    /// more than 4 MiB. Behind the last row `rs` has the columns and no rows, and the cursor is
    /// closed. A failure leaves `rs` empty and closes the cursor: DBMGR_TRANSACTION_OVER when it
    /// was unused for too long or its connection was lost, DBMGR_NO_CURSOR when it wasn't open.
    void Fetch(long& errCode, std::wstring& errText, QXRecordset& rs, long rows = 1000);

    /// Ends it without reading the rest. None that is open is no error.
    void Close(long& errCode, std::wstring& errText);

  private:
    friend class DBAgent;
    struct State;

    std::unique_ptr<State> state_;
};

}  // namespace CQXDB
