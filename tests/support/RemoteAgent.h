// Logging in to the test's server.
#pragma once

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

}  // namespace qxdb_test
