#include "steps.h"

#include <fstream>
#include <iostream>
#include <stdexcept>

#include "print.h"

namespace tour {
namespace {

using CQXDB::DBAgent;
using CQXDB::QXCommand;
using CQXDB::QXCommandList;
using CQXDB::QXRecordset;
using CQXDB::QXValue;

void Require(long code, const std::wstring& text, const std::string& what) {
    if (code != 0) {
        throw std::runtime_error(what + " failed: " + std::to_string(code) + " " + Utf8(text));
    }
}

void RequireSession(bool done, const DBAgent& agent, const std::string& what) {
    if (!done) {
        throw std::runtime_error(what + " failed: " + std::to_string(agent.errCode_) + " " +
                                 Utf8(agent.errText_));
    }
}

void Command(DBAgent& agent) {
    long code = 0;
    std::wstring text;
    QXCommand update(L"UPDATE book SET price = price + 0.25 WHERE language = ?");
    update.AddParam(QXValue::Text(L"Russian"));
    agent.Execute(code, text, update);
    Require(code, text, "the update");
    Tell("command", Utf8(update.Text()) + "  -- done");
}

void ParameterisedQuery(DBAgent& agent) {
    long code = 0;
    std::wstring text;
    QXCommand query(
        L"SELECT b.title, a.name, a.born, b.price FROM book b JOIN author a ON a.id = b.author_id "
        L"WHERE b.published BETWEEN ? AND ? AND b.language <> ? ORDER BY b.published");
    query.AddParam(QXValue::Int64(1800));
    query.AddParam(QXValue::Int64(1900));
    query.AddParam(QXValue::Text(L"English"));
    QXRecordset rows;
    agent.OpenQuery(code, text, query, rows);
    Require(code, text, "the query");
    Tell("parameterised query", std::to_string(rows.RowCount()) + " rows");
    Print(rows);
}

void PagedQuery(DBAgent& agent) {
    long code = 0;
    std::wstring text;
    QXCommand query(L"SELECT id, title, language FROM book ORDER BY id");
    QXRecordset rows;
    agent.OpenQuery(code, text, query, rows, 4, 2);
    Require(code, text, "the paged query");
    Tell("paged query", "page " + std::to_string(rows.currentPage()) + " of " +
                            std::to_string(rows.pageSize()) + " rows a page");
    Print(rows);
}

void Batch(DBAgent& agent) {
    long code = 0;
    std::wstring text;
    QXCommandList list;
    list.Add(QXCommand(
        L"SELECT language, COUNT(*) AS books FROM book GROUP BY language ORDER BY 2 DESC, 1"));
    list.Add(QXCommand(L"SELECT reader, lent FROM loan WHERE back IS NULL ORDER BY lent"));
    CQXDB::QXRsList results;
    agent.BatchQry(code, text, list, results);
    Require(code, text, "the batch");
    Tell("batch", std::to_string(results.Count()) + " recordsets");
    for (const QXRecordset& rows : results) {
        Print(rows);
    }
}

void BadStatement(DBAgent& agent) {
    long code = 0;
    std::wstring text;
    QXCommand bad(L"SELEC title FROM book");
    agent.Execute(code, text, bad);
    if (code == 0) {
        throw std::runtime_error("the bad statement was accepted");
    }
    Tell("bad statement", "error " + std::to_string(code) + ", " + Utf8(text));
}

std::wstring LoginString(const std::string& user, const std::string& password) {
    return std::wstring(user.begin(), user.end()) + L"|~|" +
           std::wstring(password.begin(), password.end());
}

}  // namespace

void Heading(const std::string& title) {
    std::cout << "\n" << title << "\n";
}

void UseFile(DBAgent& agent, const std::string& path) {
    CQXDB::QXDataSource source;
    source.database = QXValue::TextUtf8(path).ToText();
    agent.initDB(source);
}

void Load(DBAgent& agent, const std::string& sqlFile) {
    std::ifstream in(sqlFile);
    if (!in) {
        throw std::runtime_error("cannot read " + sqlFile);
    }
    QXCommandList list;
    std::string statement;
    for (std::string line; std::getline(in, line);) {
        statement += line + "\n";
        if (!line.empty() && line.back() == ';') {
            QXCommand command;
            command.SetTextUtf8(statement);
            list.Add(std::move(command));
            statement.clear();
        }
    }
    long code = 0;
    std::wstring text;
    agent.Execute(code, text, list);
    Require(code, text, "loading the sample");
    Tell("sample data", std::to_string(list.Count()) + " statements in one transaction");
}

void Work(DBAgent& agent) {
    Command(agent);
    ParameterisedQuery(agent);
    PagedQuery(agent);
    Batch(agent);
    BadStatement(agent);
}

void LogIn(DBAgent& agent, std::uint16_t port, const CQXDB::QXProxyInfo& proxy,
           const std::string& user, const std::string& password) {
    std::wstring token;
    CQXDB::CQXDB_DSType_ENUM type = CQXDB::CQXDB_DS_EMBEDDED;
    CQXDB::CQXDB_DriverType_ENUM driver = CQXDB::CQXDB_DRIVER_DEFAULT;
    RequireSession(
        agent.VirLogin(L"127.0.0.1", port, proxy, LoginString(user, password), token, type, driver),
        agent, "the login");
    agent.SetIsLocal(false);
    Tell("logged in", "token of " + std::to_string(token.size()) +
                          " characters, data source type " + std::to_string(type) +
                          ", driver type " + std::to_string(driver));
}

void RefusedWithoutTls(std::uint16_t port, const std::string& user, const std::string& password) {
    DBAgent agent;
    std::wstring info;
    std::wstring token;
    if (agent.Login(L"127.0.0.1", port, {}, LoginString(user, password), info, token)) {
        throw std::runtime_error("a login without TLS was accepted");
    }
    Tell("without TLS", "error " + std::to_string(agent.errCode_) + ", " + Utf8(agent.errText_));
}

void Session(DBAgent& agent) {
    RequireSession(agent.Shakehand(), agent, "the handshake");
    Tell("handshake", "answered");
    RequireSession(agent.SendMsg(L"Greetings from the tour \U0001F44B"), agent, "the message");
    Tell("message", "taken");
}

void LogOut(DBAgent& agent, std::uint16_t port, const CQXDB::QXProxyInfo& proxy,
            const std::string& user, const std::string& password) {
    agent.VirLogout(L"127.0.0.1", port, proxy, LoginString(user, password));
    RequireSession(agent.errCode_ == 0, agent, "the logout");
    Tell("logged out", "the token is no longer good");
}

}  // namespace tour
