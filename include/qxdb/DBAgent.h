// The agent: commands, queries and batches, run here or on an application server.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <qxdb/Export.h>
#include <qxdb/QXColumnInfo.h>
#include <qxdb/QXCommandList.h>
#include <qxdb/QXCursor.h>
#include <qxdb/QXDataSource.h>
#include <qxdb/QXNotice.h>
#include <qxdb/QXProxyInfo.h>
#include <qxdb/QXRsList.h>
#include <qxdb/QXSvrInfo.h>
#include <qxdb/QXTlsInfo.h>
#include <qxdb/QXTransaction.h>

class ACE_SOCK_Stream;

namespace CQXBASE {
class QXIOBase;
enum class TransactionVerb;
}  // namespace CQXBASE

namespace CQXDB {

class CancelPoint;
struct AgentTransaction;
struct SharedTransport;

/// One agent holds a data source, a session token, a server address, a proxy, and whether it works
/// locally (the default: straight against the database) or remotely (through an application
/// server).
///
/// Threads: one thread uses one agent at a time, but for Cancel; different agents may work on
/// different threads.
/// Remote exchanges of all agents of a process run one after the other, each from sending its
/// request to decoding its reply, unless AllowConcurrentExchanges lets them run side by side.
///
/// Errors: the work operations set their first two arguments, 0 and "" on success; the session
/// operations and CanConnect set errCode_ and errText_. No failure of a database, the server or the
/// transport leaves as an exception, nor does a lack of memory or a failure of the locks that give
/// remote exchanges their turns. Codes are 32-bit signed values: a database's own code, a Winsock
/// number for a socket error on every platform, or one of this library's (DBMgrErrors.h for local
/// work; -1, 1, 5003, -5004, -5005 and -5008 for remote work, docs/transport-notes.md; QXTlsError).
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

    /// Whether remote exchanges of different agents may run at the same time, for all agents of the
    /// process; false unless set: then one slow statement holds up the remote work of all.
    ///
    /// Whatever is set, exchanges over one connection, that of an agent and its copies, run one
    /// after the other. With true, what an exchange calls may be called by several threads at once:
    /// toCDR and fromCDR of the host's own records, and a callback for ACE's log. Requests and
    /// results are not shared between threads then.
    ///
    /// From any thread and at any time, also while exchanges are under way, which are left alone.
    /// True lets go at once what waits for other agents' exchanges; after false, an exchange begins
    /// when all that are under way have ended. Cancel waits for nobody's exchange in either case.
    static void AllowConcurrentExchanges(bool allow) noexcept;

    /// Whether the key of enciphered frames is derived once and kept, for all agents of the
    /// process; false unless set (or built with QXDB_KEEP_FRAME_KEY): then it is derived for each
    /// frame, which takes longer than a small statement. No byte on the wire changes. Means nothing
    /// over TLS. From any thread and at any time.
    static void KeepFrameKey(bool keep) noexcept;

    // Configuration.

    /// `server` is "host:port"; `db`, when not empty, becomes the data source's database name. A
    /// remote agent gets its transport here, which connects at the first exchange; that reports
    /// what is wrong with host, port or proxy (10022 for a port that is not within 0 to 65535). The
    /// same host (without regard to case) and port keep the transport an agent has, also when only
    /// the proxy differs: that one is then used by the next transport.
    void init(const std::wstring& server, QXProxyInfo proxy, const std::wstring& token,
              bool isLocal, const std::wstring& db = std::wstring());
    void init(const QXSvrInfo& server, QXProxyInfo proxy, const std::wstring& token, bool isLocal);
    /// Describes the database; the arguments go to QXDataSource::init, `options` as narrow text in
    /// the active ANSI code page (UTF-8 on Linux): on Windows a character outside that code page
    /// becomes its replacement character, "?" as a rule. The form below takes every character.
    void initDB(CQXDB_DSType_ENUM type, const std::wstring& server, long port,
                const std::wstring& database, const std::wstring& user,
                const std::wstring& password, const std::wstring& options, bool trusted);
    /// Copies the description as it stands; its `options` are UTF-8.
    void initDB(const QXDataSource& dataSource);
    /// Changes the data source's database name; an empty name changes nothing.
    void SetDB(const std::wstring& db);
    /// Switches the route. Switching to remote gets a transport to the remembered server. An agent
    /// works locally until this says otherwise, also after Login.
    void SetIsLocal(bool local);

    /// Most bytes that one reply of a server may have as it travels, and, separately, that it may
    /// take once it is decoded; 0: no bound. 1 GiB (1,073,741,824) unless set. A reply that is
    /// larger gives -5008 with a text that names the bound; nothing of it is kept. When its header
    /// already claims more, the connection is dropped before that is read and the next call
    /// connects anew; otherwise it goes on.
    ///
    /// What is counted: the body, and apart from it the room of its decompressed parts, the texts
    /// or blobs, and 10 bytes for each value, null or not, which is more than most values take. A
    /// reply under way takes up to three times the bound: as received, deciphered, decoded.
    ///
    /// The agent's own setting, for its thread like every other call; it holds from the next
    /// exchange on, survives a new server, never travels and has no say over local work.
    void SetMaxReplyBytes(std::uint64_t bytes);

    /// Longest time, in milliseconds, that a server may be silent while an exchange waits for it;
    /// 0, the default: for ever. It bounds each wait for an address of the server (or proxy) to
    /// take the connection, for the server to take more of the request, and to send more of its
    /// reply. A wait that is longer fails the call with 10060 and the system's text, and drops the
    /// connection, so that a late reply is never taken for the next one. The server may have done,
    /// or yet do, what it was asked for. Behind a proxy 5 seconds of silence fail an exchange
    /// whatever is set here; what is set here can make them fewer.
    ///
    /// A server works on a statement in silence, by default for up to 10 minutes, and on each
    /// statement of a list. Looking up a host's name is the system's matter and has its own limit.
    ///
    /// The agent's own setting, as SetMaxReplyBytes.
    void SetReplyTimeout(std::uint32_t milliseconds);

    /// Protects the connections that are made from the next exchange on as `tls` says; off unless
    /// set. A connection that was made otherwise is not used again: the next exchange drops it and
    /// connects anew, and the session goes on, since it lives by its token. An agent with TLS never
    /// sends a byte of a request without it, on reconnects and retries neither. What keeps it from
    /// its server is told by a QXTlsError with a text that says what to do, 10060 when the
    /// handshake took longer than 15 seconds (or a shorter SetReplyTimeout).
    ///
    /// The agent's own setting, as SetMaxReplyBytes. Copies of an agent share its transport: give
    /// them the same setting, or each exchange connects anew.
    void SetTls(const QXTlsInfo& tls);

    bool isLocal() const;
    std::wstring DefaultDB() const;   ///< the data source's database name
    std::wstring ServerName() const;  ///< "host:port" of the server
    std::wstring token() const;       ///< session token; empty before a login

    // Work. `db`, when not empty, names a database for this one call. Each resets errCode and
    // errText, then stamps the command with the data source, database and token.

    /// The command then knows what it changed: RowsAffected, LastInsertId.
    void Execute(long& errCode, std::wstring& errText, QXCommand& cmd,
                 const std::wstring& db = std::wstring());
    /// All commands in one transaction: all or nothing. The list knows what each has changed.
    void Execute(long& errCode, std::wstring& errText, QXCommandList& list,
                 const std::wstring& db = std::wstring());
    /// Fills `rs` with page `pageNo` (from 1) of `pageSize` rows; page size 0 means all rows. A
    /// number beyond 32 bits gives DBMGR_BAD_PAGE.
    ///
    /// Look at errCode before `rs`: after a failure it is empty, without columns, when the agent
    /// works locally. Remotely it holds what it held, rows of another query, unless a reply's rows
    /// were being decoded, which leaves it empty: they made no sense (-5005), took more than
    /// SetMaxReplyBytes allows (-5008) or than there was memory. The same codes with a reply whose
    /// rows were not looked at leave it as it was.
    void OpenQuery(long& errCode, std::wstring& errText, QXCommand& cmd, QXRecordset& rs,
                   long pageSize = 0, long pageNo = 1, const std::wstring& db = std::wstring());
    /// Runs the list in one transaction; `rs` takes the rows of its last command. Otherwise, also
    /// after a failure, the same.
    void OpenQuery(long& errCode, std::wstring& errText, QXCommandList& list, QXRecordset& rs,
                   long pageSize = 0, long pageNo = 1, const std::wstring& db = std::wstring());
    /// Runs the list in one transaction, one recordset a command; a command with several results,
    /// such as a procedure's, gives all of them, one after the other. `out` is emptied first and
    /// empty after any failure, locally and remotely.
    void BatchQry(long& errCode, std::wstring& errText, QXCommandList& list, QXRsList& out,
                  const std::wstring& db = std::wstring());

    /// Runs a query, whose rows are then taken from `cursor` portion by portion, so that a result
    /// may be larger than memory: see QXCursor, which is closed first. The query changes nothing
    /// (SELECT, VALUES, WITH); others give DBMGR_NO_CURSOR.
    void OpenCursor(long& errCode, std::wstring& errText, QXCommand& cmd, QXCursor& cursor,
                    const std::wstring& db = std::wstring());
    /// Describes the columns of a statement's result, without running it or looking at its
    /// parameters; none for one that gives no rows.
    void DescribeQuery(long& errCode, std::wstring& errText, QXCommand& cmd,
                       std::vector<QXColumnInfo>& columns, const std::wstring& db = std::wstring());
    /// What the database said beside the result of the latest of these calls, or of the latest
    /// Begin or QXCursor::Fetch, in order, also when it failed: PostgreSQL's notices, MySQL's
    /// warnings, an ODBC driver's. The first hundred, of at most 256 KiB.
    const std::vector<QXNotice>& Notices() const noexcept { return notices_; }

    // Transactions that last over several calls, on every database, locally and remotely.

    /// Begins one: from now on every Execute, OpenQuery and BatchQry runs in it, on a connection of
    /// its own, until Commit or Rollback. `db` names a database as for the work operations and
    /// holds for them too; a command that names another one fails with DBMGR_OTHER_DATABASE. A list
    /// is all or nothing in it as well; what other failed commands leave behind is the database's
    /// own rule (docs/adapter.md). A statement that would end it (COMMIT) is refused with
    /// DBMGR_TRANSACTION_CONTROL, and Begin in a transaction with DBMGR_IN_TRANSACTION.
    ///
    /// Remotely it belongs to the session and to the connection: the server rolls it back when one
    /// of them ends, when it has had no command for the server's `transaction_idle_s` (60 seconds),
    /// and when the server stops. Locally it is rolled back with the agent. A command of one that
    /// is over, for these reasons or because the database has ended it, is never run outside of it:
    /// it fails with DBMGR_TRANSACTION_OVER, as all that follow, until Commit or Rollback.
    void Begin(long& errCode, std::wstring& errText,
               const QXTransactionInfo& info = QXTransactionInfo(),
               const std::wstring& db = std::wstring());
    /// Ends the transaction, also when it fails. Then nothing of it stays, but for
    /// DBMGR_OUTCOME_UNKNOWN: the database's or server's answer was lost.
    void Commit(long& errCode, std::wstring& errText);
    /// Ends the transaction; nothing of it stays. Fails only when there is none
    /// (DBMGR_TRANSACTION_OVER) or no memory: where a connection was lost, its other end rolls
    /// back.
    void Rollback(long& errCode, std::wstring& errText);
    /// From a Begin that succeeded until Commit or Rollback.
    bool InTransaction() const;

    /// Ends the Execute, OpenQuery or BatchQry that another thread is in: locally by the database's
    /// own means, remotely over a second connection to the server, made in the same way as the
    /// first and not waiting for the exchanges of others. The call then fails with
    /// DBMGR_CANCELLED, its changes are rolled back, and agent and session go on; a call that is
    /// done by then succeeds all the same. Asks again until the call has ended, for 10 seconds at
    /// most.
    ///
    /// True when the call has ended, also by itself, or there was none. False when the database or
    /// server goes on: it can't be reached, doesn't know the session any more, or can't cancel.
    /// From any thread; the one operation that may run beside another one of the same agent. What
    /// other agents run with the same session at the same time is cancelled too.
    bool Cancel();

    // Local database. Both look at the data source, never at the server.

    /// Makes the arguments the agent's data source and tests it. False sets errCode_ and errText_;
    /// the data source stays changed either way.
    bool CanConnect(CQXDB_DSType_ENUM type, const std::wstring& server, long port,
                    const std::wstring& database, const std::wstring& user,
                    const std::wstring& password, bool trusted, CQXDB_DriverType_ENUM driver,
                    const std::wstring& driverName, const std::wstring& dsn,
                    const std::wstring& connectionString, const std::wstring& extra);
    /// Closes the adapter's idle database connections. A remote session is not touched.
    void CloseConn();

    // Session on the application server. Each uses `host`, `port` (1 to 65535) and `proxy` for the
    // transport: the same host (without regard to case) and port keep it and its connection, even
    // when `proxy` has changed; others replace it. `login` is "user|~|password", with "|~|database"
    // behind it to choose a database.

    /// Logs in. `info` is the server's free text, `token` goes with every later command. True on
    /// success; false sets errCode_ and errText_. The out-arguments are set either way, to what the
    /// agent then holds.
    bool Login(const std::wstring& host, long port, QXProxyInfo proxy, const std::wstring& login,
               std::wstring& info, std::wstring& token);
    /// Logs in and tells the kind and driver of the database behind the server. As Login otherwise.
    bool VirLogin(const std::wstring& host, long port, QXProxyInfo proxy, const std::wstring& login,
                  std::wstring& token, CQXDB_DSType_ENUM& dsType,
                  CQXDB_DriverType_ENUM& driverType);
    /// Ends a virtual login; the token is no longer good, though the agent keeps it. errCode_ and
    /// errText_ tell a failure.
    void VirLogout(const std::wstring& host, long port, QXProxyInfo proxy,
                   const std::wstring& login);
    /// True when the server answers with status 0. errCode_ and errText_ change only on a failure.
    bool Shakehand();
    /// Sends a text to the server; false for an empty one, with nothing sent. errCode_ and errText_
    /// change only on a failure.
    bool SendMsg(const std::wstring& text);

    /// One exchange: sends `request` under a request code and takes the reply. `result` is what the
    /// reply is decoded into: a QXRecordset for codes 3 and 5, a QXRsList for code 7, otherwise
    /// null; the caller keeps it.
    ///
    /// Returns -1, with errCode and errText set, when there is no server or no lock (-1), the
    /// transport failed (its code), or the reply made no sense (-5005) or was larger than
    /// SetMaxReplyBytes allows (-5008). Returns 1 for an error
    /// reply, whose number and text go into errCode and errText; one with the number 0 gives 0.
    /// Otherwise returns the status that the server's reply holds: its code for logins, which also
    /// goes into errCode, and for handshake, text and logout, which leave errCode alone; 0 for all
    /// others.
    ///
    /// The connection outlives a call that sent nothing (an object longer than its size(), or one
    /// that can't be encoded or enciphered) and one whose reply came as a whole. Any other failure
    /// drops it, and the next call connects anew.
    int RemoteExec(long& errCode, std::wstring& errText, CQXBASE::QXIOBase& request, int type,
                   void* result);

  private:
    void connectTo_(const std::wstring& server, QXProxyInfo proxy);
    void newConn_(const std::wstring& host, long port, QXProxyInfo proxy);
    int exchange_(long& errCode, std::wstring& errText, CQXBASE::QXIOBase& request,
                  unsigned requestCode, void* result);
    bool goOut_(long& errCode, std::wstring& errText);
    int proc_data(long& errCode, std::wstring& errText, int replyType, void* reply);
    void takeDatabaseKind_(const std::wstring& info);

    template <typename Work>
    bool prepare_(long& errCode, std::wstring& errText, Work& work, const std::wstring& db);
    void beginLocal_(long& errCode, std::wstring& errText, const QXTransactionInfo& info,
                     const std::wstring& db, std::wstring& id);
    void beginRemote_(long& errCode, std::wstring& errText, const QXTransactionInfo& info,
                      const std::wstring& db, std::wstring& id);
    void begin_(long& errCode, std::wstring& errText, const QXTransactionInfo& info,
                const std::wstring& db, std::shared_ptr<AgentTransaction>& transaction);
    void endOwn_(long& errCode, std::wstring& errText, bool commit);
    void end_(long& errCode, std::wstring& errText, AgentTransaction& transaction, bool commit);
    bool sameRoute_(long& errCode, std::wstring& errText,
                    const AgentTransaction& transaction) const;
    void endRemote_(long& errCode, std::wstring& errText, const AgentTransaction& transaction,
                    bool commit);
    void dropConnection_();

    friend class QXCursor;
    void callCursor_(long& errCode, std::wstring& errText, CQXBASE::TransactionVerb verb,
                     QXCommand& cmd, const QXCursor::State& state, QXRecordset* rs);
    void fetchCursor_(long& errCode, std::wstring& errText, const QXCursor::State& state,
                      QXRecordset& rs, long rows);
    void closeCursor_(long& errCode, std::wstring& errText, const QXCursor::State& state);
    void cursorLocal_(long& errCode, std::wstring& errText, CQXBASE::TransactionVerb verb,
                      QXCommand& cmd, long number, QXRecordset* rs);
    void describeLocal_(long& errCode, std::wstring& errText, QXCommand& cmd,
                        std::vector<QXColumnInfo>& columns);
    void describeRemote_(long& errCode, std::wstring& errText, QXCommand& cmd,
                         std::vector<QXColumnInfo>& columns);

    bool useODBC_() const;
    void myRaiseError(long code, std::wstring text);

    template <typename Call>
    void runLocal_(long& errCode, std::wstring& errText, const Call& call);
    void ExecuteLocal(long& errCode, std::wstring& errText, QXCommand& cmd);
    void ExecuteLocal(long& errCode, std::wstring& errText, QXCommandList& list);
    void OpenQueryLocal(long& errCode, std::wstring& errText, QXCommand& cmd, QXRecordset& rs,
                        long pageSize, long pageNo);
    void OpenQueryLocal(long& errCode, std::wstring& errText, QXCommandList& list, QXRecordset& rs,
                        long pageSize, long pageNo);
    void BatchQryLocal(long& errCode, std::wstring& errText, QXCommandList& list, QXRsList& out);

    int ExecuteRemote(long& errCode, std::wstring& errText, QXCommand& cmd);
    int ExecuteRemote(long& errCode, std::wstring& errText, QXCommandList& list);
    void OpenQueryRemote(long& errCode, std::wstring& errText, QXCommand& cmd, QXRecordset& rs,
                         long pageSize, long pageNo);
    void OpenQueryRemote(long& errCode, std::wstring& errText, QXCommandList& list, QXRecordset& rs,
                         long pageSize, long pageNo);
    void BatchQryRemote(long& errCode, std::wstring& errText, QXCommandList& list, QXRsList& out);

    QXDataSource* dataSource_;           ///< owned; shared with copies
    ACE_SOCK_Stream* sock_ = nullptr;    ///< owned; shared with copies
    QXRecordset* pendingRs_ = nullptr;   ///< the caller's, during a remote OpenQuery
    QXRsList* pendingRsList_ = nullptr;  ///< the caller's, during a remote BatchQry
    std::wstring loginInfo_;
    std::wstring token_;
    CQXDB_DSType_ENUM dsType_ = CQXDB_DS_EMBEDDED;
    CQXDB_DriverType_ENUM driverType_ = CQXDB_DRIVER_DEFAULT;
    std::wstring serverName_;
    QXProxyInfo proxy_;
    bool isLocal_ = true;
    SharedTransport* transport_ = nullptr;  ///< owned; shared with copies
    QXTlsInfo tls_;
    std::shared_ptr<CancelPoint> cancelPoint_;       ///< shared with copies
    std::shared_ptr<AgentTransaction> transaction_;  ///< shared with copies; null outside of any
    std::vector<QXNotice> notices_;
    QXCountList replyCounts_;  ///< of the last reply
    std::wstring statusText_;  ///< of the last reply to a request that is answered by one
    bool sentWhole_ = false;   ///< the last request was, so that the server may have done it
    std::uint32_t replyTimeoutMs_ = 0;
    std::uint64_t maxReplyBytes_ = std::uint64_t{1} << 30;
};

}  // namespace CQXDB
