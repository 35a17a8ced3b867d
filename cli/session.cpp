#include "cli/session.h"

#include "cli/exit_status.h"
#include "util/text.h"

namespace CQXCLI {

using CQXBASE::Utf8ToWide;
using CQXBASE::WideToUtf8;

Answer MakeAnswer(long code, const std::wstring& text) {
    return {code, WideToUtf8(text)};
}

std::string ErrorText(const Answer& answer) {
    return "error " + std::to_string(answer.code) + ": " + answer.text;
}

Session::Session(const ConnectionOptions& options) {
    if (options.server.empty()) {
        OpenLocal(options);
    } else {
        OpenRemote(options);
    }
}

Session::~Session() {
    if (!server_.host.empty() && !silent_) {
        agent_.SetReplyTimeout(shortWaitMs_);
        agent_.VirLogout(Utf8ToWide(server_.host), server_.port, proxy_, login_);
    }
}

/// A server that was silent last isn't asked to end the session, which would take as long again.
Answer Session::Told(long code, const std::wstring& text) {
    constexpr long kTimedOut = 10060;
    silent_ = code == kTimedOut;
    return MakeAnswer(code, text);
}

Answer Session::Worked(long code, const std::wstring& text) {
    for (const CQXDB::QXNotice& notice : agent_.Notices()) {
        if (onNotice_) {
            onNotice_(notice);
        }
    }
    return Told(code, text);
}

std::string Session::Database() const {
    return WideToUtf8(database_.empty() ? agent_.DefaultDB() : database_);
}

Answer Session::Query(CQXDB::QXCommand& command, CQXDB::QXRecordset& rs, long pageSize, long page) {
    long code = 0;
    std::wstring text;
    agent_.OpenQuery(code, text, command, rs, pageSize, page, database_);
    return Worked(code, text);
}

Answer Session::OpenCursor(CQXDB::QXCommand& command, CQXDB::QXCursor& cursor) {
    long code = 0;
    std::wstring text;
    agent_.OpenCursor(code, text, command, cursor, database_);
    return Worked(code, text);
}

Answer Session::Fetch(CQXDB::QXCursor& cursor, CQXDB::QXRecordset& rs, long rows) {
    long code = 0;
    std::wstring text;
    cursor.Fetch(code, text, rs, rows);
    return Worked(code, text);
}

Answer Session::Batch(CQXDB::QXCommandList& list, CQXDB::QXRsList& results) {
    long code = 0;
    std::wstring text;
    agent_.BatchQry(code, text, list, results, database_);
    return Worked(code, text);
}

Answer Session::Execute(CQXDB::QXCommandList& list) {
    long code = 0;
    std::wstring text;
    agent_.Execute(code, text, list, database_);
    return Worked(code, text);
}

Answer Session::Switch(const std::string& database) {
    const std::wstring before = database_;
    const bool keeps = dialect_->Is(Dialect::Family::MySql);
    if (server_.host.empty() && !keeps) {
        // An idle connection to the database left behind would keep it from being dropped. MySQL
        // goes to another one with the same connection, and keeps its settings.
        agent_.CloseConn();
    }
    database_ = Utf8ToWide(database);
    Answer answer = Ask();
    if (!answer.Ok()) {
        database_ = before;
    }
    return answer;
}

Answer Session::Probe() {
    if (server_.host.empty()) {
        return Ask();
    }
    agent_.errCode_ = 0;
    agent_.errText_.clear();
    agent_.SetReplyTimeout(shortWaitMs_);
    const bool done = agent_.Shakehand();
    agent_.SetReplyTimeout(longWaitMs_);
    if (done) {
        return {};
    }
    return agent_.errCode_ != 0 ? Told(agent_.errCode_, agent_.errText_)
                                : Answer{kFailed, "the server answers the handshake with an error"};
}

Answer Session::Ask() {
    CQXDB::QXCommand command(dialect_->Is(Dialect::Family::Oracle) ? L"SELECT 1 FROM DUAL"
                                                                   : L"SELECT 1");
    CQXDB::QXRecordset rs;
    return Query(command, rs);
}

}  // namespace CQXCLI
