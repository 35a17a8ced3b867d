// Logging in to the test's server, and work by an agent.
#pragma once

#include <ostream>
#include <stdexcept>
#include <string>

#include <qxdb/DBAgent.h>

#include "tests/support/QxdbServer.h"

namespace qxdb_test {

inline std::wstring Wide(const std::string& utf8) {
    return CQXDB::QXValue::TextUtf8(utf8).ToText();
}
inline std::string Utf8(const std::wstring& text) {
    return CQXDB::QXValue::Text(text).ToUtf8();
}

/// Makes `agent` remote and logs it in; throws with the agent's code and text when refused.
inline void LogIn(CQXDB::DBAgent& agent, const QxdbServer& server,
                  const CQXDB::QXProxyInfo& proxy = {}, const std::wstring& database = {}) {
    std::wstring login = Wide(std::string(QxdbServer::kUser) + "|~|" + QxdbServer::kPassword);
    login += database.empty() ? L"" : L"|~|" + database;
    std::wstring info;
    std::wstring token;
    if (!agent.Login(L"127.0.0.1", server.Port(), proxy, login, info, token)) {
        throw std::runtime_error("login: " + std::to_string(agent.errCode_) + " " +
                                 Utf8(agent.errText_));
    }
    agent.SetIsLocal(false);
    agent.SetDB(database);
}

/// What one piece of an agent's work left behind.
struct Answer {
    long code = 0;
    std::wstring text;
    CQXDB::QXRecordset rows;
};

/// `Work` is a command or a command list.
template <typename Work>
Answer Execute(CQXDB::DBAgent& agent, Work work) {
    Answer answer;
    agent.Execute(answer.code, answer.text, work);
    return answer;
}
inline Answer Execute(CQXDB::DBAgent& agent, const wchar_t* sql) {
    return Execute(agent, CQXDB::QXCommand(sql));
}
inline Answer Query(CQXDB::DBAgent& agent, CQXDB::QXCommand command, long pageSize = 0,
                    long page = 1) {
    Answer answer;
    agent.OpenQuery(answer.code, answer.text, command, answer.rows, pageSize, page);
    return answer;
}
inline Answer Query(CQXDB::DBAgent& agent, const wchar_t* sql) {
    return Query(agent, CQXDB::QXCommand(sql));
}

inline std::ostream& operator<<(std::ostream& out, const Answer& answer) {
    out << answer.code << " " << Utf8(answer.text);
    for (std::size_t column = 0; column < answer.rows.ColumnCount(); ++column) {
        out << "\n  " << answer.rows.Column(column).NameUtf8() << " "
            << static_cast<int>(answer.rows.ColumnType(column)) << ":";
        for (const auto row : answer.rows) {
            out << " [" << row.GetTextUtf8(column) << "]";
        }
    }
    return out;
}

}  // namespace qxdb_test
