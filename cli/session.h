// An opened agent: the one place that knows whether work happens here or on an application server.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include <qxdb/DBAgent.h>

#include "cli/address.h"
#include "cli/dialect.h"
#include "cli/server_tls.h"

namespace CQXCLI {

/// Where to connect to, as the command line tells. Texts are UTF-8.
struct ConnectionOptions {
    std::string url;           ///< of a database, for local work; else `server` is set
    std::string server;        ///< HOST:PORT of an application server
    std::string user;          ///< there
    std::string password;      ///< of that user, from a URL; mostly empty
    std::string database;      ///< there, or instead of the URL's
    std::string proxy;         ///< URL of a proxy on the way there
    TlsOptions tls;            ///< on the way there
    std::string passwordFile;  ///< its first line is the password
    std::string dialect;       ///< name of the dialect, for ODBC; empty: by the kind of database
    bool askPassword = false;  ///< ask on the terminal, for local work too
    long timeout = -1;         ///< seconds that a server may be silent; 0: for ever; -1: not given
    long maxReply = 1024;      ///< mebibytes that a server's reply may have; 0: any number
};

/// What a call on the database answered.
struct Answer {
    long code = 0;     ///< the database's, the server's or a socket's; 0: success
    std::string text;  ///< UTF-8

    bool Ok() const noexcept { return code == 0; }
};

Answer MakeAnswer(long code, const std::wstring& text);

/// "error 19: ..."
std::string ErrorText(const Answer& answer);

class Session {
  public:
    /// Opens the connection. Throws CliError: kWrongUsage for options that make no sense,
    /// kNoConnection when nobody answers or the login is refused.
    explicit Session(const ConnectionOptions& options);
    /// Logs out.
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const Dialect& SqlDialect() const noexcept { return *dialect_; }
    /// The database that statements go to; empty for a server's default one.
    std::string Database() const;

    /// Runs any statement; one without a result leaves `rs` without columns.
    Answer Query(CQXDB::QXCommand& command, CQXDB::QXRecordset& rs, long pageSize = 0,
                 long page = 1);
    /// Runs a query whose rows Fetch takes in portions of `rows` at most.
    Answer OpenCursor(CQXDB::QXCommand& command, CQXDB::QXCursor& cursor);
    Answer Fetch(CQXDB::QXCursor& cursor, CQXDB::QXRecordset& rs, long rows);
    /// Runs the list in one transaction, one recordset a command.
    Answer Batch(CQXDB::QXCommandList& list, CQXDB::QXRsList& results);
    /// Runs the list in one transaction and drops rows.
    Answer Execute(CQXDB::QXCommandList& list);

    /// Called with what the database says beside the results of these calls.
    void OnNotice(std::function<void(const CQXDB::QXNotice&)> call) { onNotice_ = std::move(call); }

    /// False when the connection description doesn't let another database be named.
    bool CanSwitch() const noexcept { return canSwitch_; }
    /// Sends further statements to another database. After a failure they go where they went
    /// before.
    Answer Switch(const std::string& database);
    /// Asks the database, or the server, for a sign of life.
    Answer Probe();

  private:
    void OpenLocal(const ConnectionOptions& options);
    void OpenRemote(const ConnectionOptions& options);
    Answer Told(long code, const std::wstring& text);
    Answer Worked(long code, const std::wstring& text);
    Answer CheckLocal(const CQXDB::QXDataSource& source);
    Answer Ask();

    CQXDB::DBAgent agent_;
    std::function<void(const CQXDB::QXNotice&)> onNotice_;
    const Dialect* dialect_ = nullptr;
    ServerAddress server_;  ///< empty host: local work
    CQXDB::QXProxyInfo proxy_;
    std::wstring login_;
    std::wstring database_;  ///< empty: the agent's, or the session's default
    bool canSwitch_ = true;
    std::uint32_t shortWaitMs_ = 0;  ///< for the server's own answers; 0: no limit
    std::uint32_t longWaitMs_ = 0;   ///< for those that statements have to run for
    bool silent_ = false;            ///< the last wait for the server ran out
};

}  // namespace CQXCLI
