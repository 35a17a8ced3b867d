// What an agent has beside commands and queries: transactions, counts, notices, cursors,
// descriptions, several results, cancelling, limits. Without arguments on a database in memory;
// with HOST PORT USER PASSWORD on the server there.
#include <atomic>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include <qxdb/DBAgent.h>

namespace {

using namespace CQXDB;

struct Failure {
    std::string what;
};

void Check(long code, const std::wstring& text) {
    if (code != 0) {
        throw Failure{std::to_string(code) + ": " + QXValue::Text(text).ToUtf8()};
    }
}

QXCommand Run(DBAgent& agent, const wchar_t* sql) {
    long code = 0;
    std::wstring text;
    QXCommand command(sql);
    agent.Execute(code, text, command);
    Check(code, text);
    return command;
}

/// Two accounts, of which one pays the other or nothing happens.
void Transaction(DBAgent& agent) {
    long code = 0;
    std::wstring text;
    agent.Begin(code, text, {QXISOLATION_SERIALIZABLE});
    Check(code, text);
    try {
        Run(agent, L"UPDATE purse SET coins = coins - 5 WHERE name = 'Ann'");
        Run(agent, L"UPDATE purse SET coins = coins + 5 WHERE name = 'Bob'");
    } catch (const Failure&) {
        agent.Rollback(code, text);
        throw;
    }
    agent.Commit(code, text);
    Check(code, text);
}

void Counts(DBAgent& agent) {
    const QXCommand insert = Run(agent, L"INSERT INTO purse(name, coins) VALUES ('Cid', 1)");
    std::cout << insert.RowsAffected() << " row, with the id " << insert.LastInsertId() << "\n";
    for (const QXNotice& notice : agent.Notices()) {
        std::cout << QXValue::Text(notice.level + L": " + notice.text).ToUtf8() << "\n";
    }
}

void Cursor(DBAgent& agent) {
    long code = 0;
    std::wstring text;
    QXCommand query(L"SELECT a.id FROM purse a, purse b, purse c, purse d");
    QXCursor cursor;
    agent.OpenCursor(code, text, query, cursor);
    std::size_t rows = 0;
    while (cursor.IsOpen()) {
        QXRecordset portion;
        cursor.Fetch(code, text, portion, 10);
        rows += portion.RowCount();
    }
    Check(code, text);
    std::cout << rows << " rows, ten at a time\n";
}

void Description(DBAgent& agent) {
    long code = 0;
    std::wstring text;
    QXCommand query(L"SELECT name AS who FROM purse");
    std::vector<QXColumnInfo> columns;
    agent.DescribeQuery(code, text, query, columns);
    Check(code, text);
    for (const QXColumnInfo& column : columns) {
        std::cout << QXValue::Text(column.name + L" is " + column.table + L"." + column.column +
                                   L", " + column.declaredType)
                         .ToUtf8()
                  << "\n";
    }
}

void SeveralResults(DBAgent& agent) {
    long code = 0;
    std::wstring text;
    QXCommandList list;
    list.Add(QXCommand(L"SELECT name FROM purse ORDER BY name"));
    list.Add(QXCommand(L"SELECT sum(coins) FROM purse"));
    QXRsList results;
    agent.BatchQry(code, text, list, results);
    Check(code, text);
    for (const QXRecordset& result : results) {
        for (const auto row : result) {
            std::cout << row.GetTextUtf8(0) << " ";
        }
    }
    std::cout << "\n";
}

void Cancelling(DBAgent& agent) {
    std::atomic<bool> over{false};
    std::thread other([&] {
        while (!over) {
            agent.Cancel();
        }
    });
    long code = 0;
    std::wstring text;
    QXCommand endless(
        L"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT sum(i) FROM n");
    QXRecordset rows;
    agent.OpenQuery(code, text, endless, rows);
    over = true;
    other.join();
    std::cout << "cancelled: " << code << "\n";
}

void LogIn(DBAgent& agent, char** arguments) {
    const std::wstring host = QXValue::TextUtf8(arguments[0]).ToText();
    const std::string login = std::string(arguments[2]) + "|~|" + arguments[3];
    std::wstring info;
    std::wstring token;
    agent.SetReplyTimeout(60000);
    if (!agent.Login(host, std::stol(arguments[1]), QXProxyInfo(),
                     QXValue::TextUtf8(login).ToText(), info, token)) {
        Check(agent.errCode_, agent.errText_);
    }
    agent.SetIsLocal(false);
}

}  // namespace

int main(int count, char** arguments) {
    try {
        DBAgent agent;
        agent.initDB(CQXDB_DS_EMBEDDED, L"", 0, L":memory:", L"", L"", L"", false);
        if (count > 4) {
            LogIn(agent, arguments + 1);
        }
        Run(agent,
            L"DROP TABLE IF EXISTS purse;"
            L"CREATE TABLE purse(id INTEGER PRIMARY KEY, name VARCHAR(20), coins INTEGER);"
            L"INSERT INTO purse(name, coins) VALUES ('Ann', 10), ('Bob', 0)");
        Transaction(agent);
        Counts(agent);
        Cursor(agent);
        Description(agent);
        SeveralResults(agent);
        Cancelling(agent);
        return 0;
    } catch (const Failure& failure) {
        std::cerr << failure.what << "\n";
        return 1;
    }
}
