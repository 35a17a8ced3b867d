// The README's example: a database in memory, a table, a parameterised insert, a query.
#include <iostream>

#include <qxdb/DBAgent.h>

int main() {
    CQXDB::DBAgent agent;
    agent.initDB(CQXDB::CQXDB_DS_EMBEDDED, L"", 0, L":memory:", L"", L"", L"", false);

    long code = 0;
    std::wstring text;
    CQXDB::QXCommand create(L"CREATE TABLE city (name TEXT, people INTEGER)");
    agent.Execute(code, text, create);

    CQXDB::QXCommand insert(L"INSERT INTO city VALUES (?, ?), ('Lima', 10092000)");
    insert.AddParam(CQXDB::QXValue::Text(L"Malmö"));
    insert.AddParam(CQXDB::QXValue::Int64(362133));
    agent.Execute(code, text, insert);

    CQXDB::QXCommand select(L"SELECT name, people FROM city ORDER BY people");
    CQXDB::QXRecordset rows;
    agent.OpenQuery(code, text, select, rows);
    for (auto row : rows) {
        std::cout << row.GetTextUtf8(0) << ": " << row.GetInt64(1) << "\n";
    }
    return code == 0 ? 0 : 1;
}
