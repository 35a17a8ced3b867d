// The database manager for embedded SQLite.
#pragma once

#include <string>

#include <qxdb/Export.h>
#include <qxdb/QXCommandList.h>
#include <qxdb/QXDataSource.h>
#include <qxdb/QXRsList.h>

namespace CQXDB {

/// Serves data sources whose type and driver type are both 0; the database member is the file path.
/// A manager is cheap: connections live in a process-wide pool for each data source, from which every
/// call takes one. Different managers may be used by different threads at once; one manager by one
/// thread at a time. A failed call leaves its transaction rolled back, and the manager usable.
/// No operation throws for a database error; read errNumber() and errDesc() after each call.
class QXDB_ADAPTER_API DBMgr {
  public:
    DBMgr();
    ~DBMgr();
    DBMgr(const DBMgr&) = delete;
    DBMgr& operator=(const DBMgr&) = delete;

    /// True when a connection to the described database can be made.
    bool CanConnect(QXDataSource* dataSource);
    void Execute(QXCommand* command);
    /// Runs the commands in one transaction: all or nothing.
    void Execute(QXCommandList* list);
    /// Fills `rs` with the page that its page size and current page ask for; page size 0 means all
    /// rows. Rows after the page are not fetched.
    void OpenQuery(QXCommand* command, QXRecordset& rs);
    /// Runs the commands in one transaction; `rs` takes the rows of the last one.
    void OpenQuery(QXCommandList* list, QXRecordset& rs);
    /// Runs the commands in one transaction and appends one recordset for each to `out`.
    void BatchQry(QXCommandList* list, QXRsList& out);
    /// Closes the pooled connections that this process does not use at the moment.
    void CloseConn();

    /// The database's own code of the last call's error; 0 is success.
    long errNumber() const noexcept { return errNumber_; }
    std::wstring errDesc() const { return errDesc_; }

  private:
    long errNumber_ = 0;
    std::wstring errDesc_;
};

}  // namespace CQXDB
