// The agent: commands, queries and batches, run here or on an application server.
#pragma once

#include <string>

#include <qxdb/Export.h>
#include <qxdb/QXCommandList.h>
#include <qxdb/QXDataSource.h>
#include <qxdb/QXProxyInfo.h>
#include <qxdb/QXRsList.h>
#include <qxdb/QXSvrInfo.h>

class ACE_SOCK_Stream;

namespace CQXBASE {
class QXIO;
}

namespace CQXDB {

/// One agent holds a data source, a session token, a server address, a proxy, and whether it works
/// locally (the default: straight against the database) or remotely (through an application server).
///
/// Threads: one thread uses one agent at a time; different agents may work on different threads.
/// Remote exchanges of all agents of a process run one after the other.
///
/// Errors: the work operations set their first two arguments, 0 and "" on success; the session
/// operations and CanConnect set errCode_ and errText_. No database, server or transport failure
/// leaves as an exception. Codes are 32-bit signed values: a database's own code, a Winsock number
/// for a socket error on every platform, or one of this library's.
///
/// Copies are shallow: copy and original share the data source and the transport, and only one of
/// them may be destroyed.
class QXDB_AGENT_API DBAgent {
  public:
    long errCode_ = 0;
    std::wstring errText_;

    DBAgent();
    DBAgent(const DBAgent& other);
    DBAgent& operator=(const DBAgent& other);
    /// Closes the connection to the server and drops the data source. Lets no exception out.
    ~DBAgent();

    // Configuration.

    /// `server` is "host:port"; `db`, when not empty, becomes the data source's database name. A remote
    /// agent gets its transport here, which connects at the first exchange.
    void init(const std::wstring& server, QXProxyInfo proxy, const std::wstring& token, bool isLocal,
              const std::wstring& db = std::wstring());
    void init(const QXSvrInfo& server, QXProxyInfo proxy, const std::wstring& token, bool isLocal);
    /// Describes the database; the arguments go to QXDataSource::init, `options` in the active ANSI code
    /// page (UTF-8 on Linux).
    void initDB(CQXDB_DSType_ENUM type, const std::wstring& server, long port, const std::wstring& database,
                const std::wstring& user, const std::wstring& password, const std::wstring& options,
                bool trusted);
    void initDB(const QXDataSource& dataSource);
    /// Changes the data source's database name; an empty name changes nothing.
    void SetDB(const std::wstring& db);
    /// Switches the route. Switching to remote gets a transport to the remembered server.
    void SetIsLocal(bool local);

    bool isLocal() const;
    std::wstring DefaultDB() const;   ///< the data source's database name
    std::wstring ServerName() const;  ///< "host:port" of the server
    std::wstring token() const;       ///< session token; empty before a login

    // Work. `db`, when not empty, names a database for this one call. Each resets errCode and errText,
    // then stamps the command with the data source, database and token.

    void Execute(long& errCode, std::wstring& errText, QXCommand& cmd,
                 const std::wstring& db = std::wstring());
    /// All commands in one transaction: all or nothing.
    void Execute(long& errCode, std::wstring& errText, QXCommandList& list,
                 const std::wstring& db = std::wstring());
    /// Fills `rs` with page `pageNo` (from 1) of `pageSize` rows; page size 0 means all rows.
    void OpenQuery(long& errCode, std::wstring& errText, QXCommand& cmd, QXRecordset& rs,
                   long pageSize = 0, long pageNo = 1, const std::wstring& db = std::wstring());
    /// Runs the list in one transaction; `rs` takes the rows of its last command.
    void OpenQuery(long& errCode, std::wstring& errText, QXCommandList& list, QXRecordset& rs,
                   long pageSize = 0, long pageNo = 1, const std::wstring& db = std::wstring());
    /// Runs the list in one transaction, one recordset a command. `out` is emptied first.
    void BatchQry(long& errCode, std::wstring& errText, QXCommandList& list, QXRsList& out,
                  const std::wstring& db = std::wstring());

    // Local database. Both look at the data source, never at the server.

    /// Makes the arguments the agent's data source and tests it. False sets errCode_ and errText_; the
    /// data source stays changed either way.
    bool CanConnect(CQXDB_DSType_ENUM type, const std::wstring& server, long port,
                    const std::wstring& database, const std::wstring& user, const std::wstring& password,
                    bool trusted, CQXDB_DriverType_ENUM driver, const std::wstring& driverName,
                    const std::wstring& dsn, const std::wstring& connectionString,
                    const std::wstring& extra);
    /// Closes the adapter's idle database connections. A remote session is not touched.
    void CloseConn();

  private:
    bool useODBC_() const;
    void myRaiseError(long code, std::wstring text);

    void ExecuteLocal(long& errCode, std::wstring& errText, QXCommand& cmd);
    void ExecuteLocal(long& errCode, std::wstring& errText, QXCommandList& list);
    void OpenQueryLocal(long& errCode, std::wstring& errText, QXCommand& cmd, QXRecordset& rs,
                        long pageSize, long pageNo);
    void OpenQueryLocal(long& errCode, std::wstring& errText, QXCommandList& list, QXRecordset& rs,
                        long pageSize, long pageNo);
    void BatchQryLocal(long& errCode, std::wstring& errText, QXCommandList& list, QXRsList& out);

    QXDataSource* dataSource_;              ///< owned; shared with copies
    ACE_SOCK_Stream* sock_ = nullptr;       ///< owned; shared with copies
    QXRecordset* pendingRs_ = nullptr;      ///< the caller's, during a remote OpenQuery
    QXRsList* pendingRsList_ = nullptr;     ///< the caller's, during a remote BatchQry
    std::wstring loginInfo_;
    std::wstring token_;
    CQXDB_DSType_ENUM dsType_ = CQXDB_DS_EMBEDDED;
    CQXDB_DriverType_ENUM driverType_ = CQXDB_DRIVER_DEFAULT;
    std::wstring serverName_;
    QXProxyInfo proxy_;
    bool isLocal_ = true;
    CQXBASE::QXIO* io_ = nullptr;  ///< owned; shared with copies
};

}  // namespace CQXDB
