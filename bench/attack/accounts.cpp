#include <chrono>
#include <cstdio>
#include <list>
#include <string>
#include <thread>
#include <vector>

#include "attacks.h"
#include "messages/type_codes.h"
#include "util/text.h"

namespace qxdb_attack {
namespace {

using namespace CQXBASE;
using qxdb_test::RawClient;
using std::chrono::seconds;

constexpr wchar_t kEndless[] =
    L"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT count(*) FROM n";

/// Queries without an end, whose clients are gone.
void AbandonedQueries(Target& target) {
    const RawClient session = target.Eve();
    CQXDB::QXCommand endless = session.Command(kEndless);
    for (int i = 0; i < 80; ++i) {
        RawClient client = target.Connect();
        client.Send(kQuery, endless);
        client.Close(i % 2 == 0);
    }
    std::this_thread::sleep_for(seconds(4));
}

/// Statements on a database server go on there unless they are told to end.
void AbandonedOn(Target& target, const std::wstring& database, const std::wstring& sleep,
                 const std::wstring& count) {
    RawClient session = target.Eve();
    CQXDB::QXCommand sleeps = session.Command(sleep, database);
    for (int i = 0; i < 30; ++i) {
        RawClient client = target.Connect();
        client.Send(kQuery, sleeps);
        client.Close(i % 2 == 0);
    }
    std::this_thread::sleep_for(seconds(9));
    CQXDB::QXCommand running = session.Command(count, database);
    const qxdb_test::Reply reply = session.Call(kQuery, running);
    if (reply.Error() != 0) {
        throw BrokenThrough("error " + std::to_string(reply.Error()));
    }
    const std::int64_t left = reply.Recordset().GetInt64(0, 0);
    if (left > 0) {
        throw BrokenThrough(std::to_string(left) + " statements go on");
    }
}

void AbandonedOnServers(Target& target) {
    AbandonedOn(
        target, L"maria", L"SELECT SLEEP(600)",
        L"SELECT count(*) FROM information_schema.processlist WHERE info LIKE 'SELECT SLEEP%'");
    AbandonedOn(target, L"postgres", L"SELECT pg_sleep(600)",
                L"SELECT count(*) FROM pg_stat_activity WHERE state = 'active' AND "
                L"query LIKE 'SELECT pg_sleep%'");
    AbandonedOn(target, L"odbc", kEndless, L"SELECT 0");
}

/// What one account may not see or use of another, or of the server's machine.
void OnDatabaseServers(Target& target) {
    RawClient eve = target.Eve();
    const auto run = [&eve](const std::wstring& database, const std::wstring& sql) {
        CQXDB::QXCommand command = eve.Command(sql, database);
        return eve.Call(kExecute, command).Error();
    };
    if (run(L"maria", L"CREATE TABLE IF NOT EXISTS host(l TEXT)") != 0) {
        throw BrokenThrough("no table on MariaDB");
    }
    if (run(L"maria", L"LOAD DATA LOCAL INFILE '/etc/passwd' INTO TABLE host") == 0) {
        throw BrokenThrough("MariaDB took a file of the server's machine");
    }
    run(L"postgres", L"LISTEN flood");
    for (int i = 0; i < 2000; ++i) {
        run(L"postgres",
            L"SELECT pg_notify('flood', repeat('x', 7900) || " + std::to_wstring(i) + L")");
    }
    run(L"postgres", L"COPY (SELECT 1) TO STDOUT");
    run(L"postgres", L"COPY host FROM STDIN");
    run(L"maria", L"SET SESSION profiling = 1");
    run(L"maria", L"SELECT 'a secret of eve'");
    run(L"maria", L"SELECT GET_LOCK('l', 1)");
    RawClient user = target.User();
    CQXDB::QXCommand profiles = user.Command(L"SHOW PROFILES", L"maria");
    if (user.Call(kQuery, profiles).Recordset().RowCount() > 0) {
        throw BrokenThrough("one account sees another's statements");
    }
    CQXDB::QXCommand lock = user.Command(L"SELECT GET_LOCK('l', 0)", L"maria");
    user.Call(kQuery, lock);
}

/// As many as there are connections, whose clients wait.
void EndlessQueries(Target& target) {
    const RawClient session = target.Eve();
    CQXDB::QXCommand endless = session.Command(kEndless);
    std::list<RawClient> crowd;
    for (int i = 0; i < 100; ++i) {
        crowd.push_back(target.Connect());
        crowd.back().Send(kQuery, endless);
    }
    std::this_thread::sleep_for(seconds(6));
}

void Sessions(Target& target) {
    AtOnce(4, [&](int) {
        for (int i = 0; i < 30; ++i) {
            target.Eve();
        }
    });
}

/// Databases of the client's own, each of which would keep a connection.
void OwnDatabases(Target& target) {
    RawClient client = target.Eve();
    for (int i = 0; i < 1500; ++i) {
        CQXDB::QXCommand command = client.Command(L"SELECT 1", std::to_wstring(i) + L".db");
        client.Call(kExecute, command);
    }
}

/// Statements that crash, take memory or take time; each on a connection of its own.
constexpr const wchar_t* kStatements[] = {
    L"SELECT hex(fts3_tokenizer('simple'))",
    L"SELECT fts3_tokenizer('evil', x'4141414141414141')",
    L"CREATE VIRTUAL TABLE IF NOT EXISTS f3 USING fts3(x, tokenize=evil)",
    L"SELECT load_extension('evil')",
    L"SELECT * FROM sqlite_dbpage",
    L"SELECT * FROM sqlite_stmt",
    L"SELECT * FROM dbstat",
    L"ATTACH '' AS stays",
    L"PRAGMA writable_schema=ON",
    L"SELECT length(zeroblob(900000000))",
    L"SELECT hex(zeroblob(400000000))",
    L"SELECT instr(zeroblob(60000000), zeroblob(30000000) || x'01')",
    L"SELECT length(rtrim(hex(zeroblob(15000000)), hex(randomblob(15000000))))",
    L"SELECT length(trim(hex(zeroblob(15000000)), hex(zeroblob(15000000)) || '1'))",
    L"SELECT length(replace(hex(zeroblob(15000000)), '0', hex(zeroblob(1000))))",
    L"SELECT hex(zeroblob(2000000)) LIKE '%0%0%0%0%0%0%0%0%0%0%0%0%1'",
    L"SELECT hex(zeroblob(2000000)) GLOB '*0*0*0*0*0*0*0*0*0*0*0*0*1'",
    L"SELECT length(printf('%.*c', 900000000, 'x'))",
    L"SELECT length(group_concat(hex(zeroblob(500000)))) FROM (WITH RECURSIVE n(i) AS (SELECT 1 "
    L"UNION ALL SELECT i + 1 FROM n LIMIT 2000) SELECT i FROM n)",
    L"SELECT count(*) FROM generate_series(1, 100000000000)",
    L"WITH RECURSIVE n(i, b) AS (SELECT 1, zeroblob(1000000) UNION SELECT i + 1, "
    L"randomblob(1000000) "
    L"FROM n) SELECT sum(length(b)) FROM n",
    L"SELECT json_group_array(hex(zeroblob(500000))) FROM (WITH RECURSIVE n(i) AS (SELECT 1 UNION "
    L"ALL SELECT i + 1 FROM n LIMIT 2000) SELECT i FROM n)",
};

void Run(Target& target, const std::wstring& sql) {
    const auto start = std::chrono::steady_clock::now();
    const std::size_t before = target.PeakMiB();
    std::int32_t code = 0;
    try {
        RawClient client = target.Eve();
        CQXDB::QXCommand command = client.Command(sql);
        code = client.Call(kQuery, command).Error();
    } catch (const std::exception&) {
        code = -1;
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    const std::size_t grown = target.PeakMiB() - before;
    if (took > kStatementLimit + seconds(3) || grown > kBufferedMiB || !target.Alive()) {
        std::printf("    %.1f s, %zu MiB, code %d: %.100s\n", took.count(), grown, code,
                    WideToUtf8(sql).c_str());
    }
}

void Statements(Target& target) {
    for (const wchar_t* each : kStatements) {
        Run(target, each);
    }
}

/// Statements that are hard to prepare.
void Nested(Target& target) {
    const auto repeat = [](const std::wstring& text, int times) {
        std::wstring all;
        for (int i = 0; i < times; ++i) {
            all += text;
        }
        return all;
    };
    Run(target, L"SELECT " + repeat(L"(", 900) + L"1" + repeat(L")", 900));
    Run(target, L"SELECT 1" + repeat(L" + (SELECT 1", 90) + repeat(L")", 90));
    Run(target, L"SELECT 1" + repeat(L" UNION SELECT 1", 5000));
    Run(target, L"SELECT 1 WHERE 1 IN (1" + repeat(L", 1", 3000000) + L")");
    const std::wstring zeros = L"hex(zeroblob(30000000))";
    for (const wchar_t* const like : {L" LIKE '", L" GLOB '"}) {
        const std::wstring any = like[1] == L'L' ? L"%" : L"*";
        Run(target, L"SELECT " + zeros + like + repeat(any + L"0", 450) + any + L"1'");
        Run(target, L"SELECT " + zeros + like + any + repeat(L"0", 900) + L"1'");
    }
    const std::wstring array =
        L"'[' || substr(replace(" + zeros + L", '0', '1,'), 1, 59999999) || '0]'";
    Run(target, L"SELECT json_array_length(" + array + L")");
    Run(target, L"SELECT sum(value) FROM json_each(" + array + L")");
    Run(target, L"SELECT json_patch(" + array + L", " + array + L")");
    Run(target, L"SELECT json_extract(" + array + L", '$[29999998]')");
    std::wstring chain = L"WITH c0(a) AS (SELECT 1)";
    for (int i = 1; i <= 30; ++i) {
        const std::wstring before = L"c" + std::to_wstring(i - 1);
        chain += L", c" + std::to_wstring(i) + L"(a) AS (SELECT x.a FROM " + before + L" x, " +
                 before + L" y)";
    }
    for (const int depth : {12, 16, 20, 30}) {
        Run(target, chain + L" SELECT count(*) FROM c" + std::to_wstring(depth));
    }
    Run(target,
        L"SELECT x FROM (SELECT randomblob(1000000) AS x FROM generate_series(1, 400)) ORDER BY x");
    Run(target,
        L"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n LIMIT 400) "
        L"SELECT length(x) FROM (SELECT randomblob(1000000) AS x FROM n) ORDER BY x");
    Run(target, L"CREATE VIRTUAL TABLE IF NOT EXISTS ft USING fts5(x)");
    Run(target, L"INSERT INTO ft VALUES (replace(hex(randomblob(20000000)), '0', ' '))");
    Run(target,
        L"SELECT length(highlight(ft, 0, '<', '>')) FROM ft WHERE ft MATCH 'a* OR b* OR 1*'");
    Run(target, L"PRAGMA integrity_check");
    Run(target, L"SELECT '" + repeat(L"x", 20000000) + L"'");
    std::wstring views;
    for (int i = 1; i < 40; ++i) {
        views +=
            L"CREATE TEMP VIEW v" + std::to_wstring(i) + L" AS SELECT 1 AS a FROM " +
            (i == 1 ? L"(SELECT 1) x, (SELECT 1) y"
                    : L"v" + std::to_wstring(i - 1) + L" x, v" + std::to_wstring(i - 1) + L" y") +
            L";";
    }
    RawClient client = target.Eve();
    client.Execute(views);
    for (const int depth : {10, 20, 39}) {
        CQXDB::QXCommandList list =
            client.List({views, L"SELECT count(*) FROM v" + std::to_wstring(depth)});
        client.Call(kQueryList, list);
    }
}

}  // namespace

const std::vector<Attack>& AttacksOfAccounts() {
    static const std::vector<Attack> attacks = {
        {"queries that nobody waits for", AbandonedQueries},
        {"queries on database servers that nobody waits for", AbandonedOnServers},
        {"what database servers offer", OnDatabaseServers},
        {"endless queries on 100 connections", EndlessQueries},
        {"statements that crash, or take time or memory", Statements},
        {"statements that are hard to prepare", Nested},
        {"120 sessions of one account", Sessions},
        {"1,500 databases of a client's own", OwnDatabases},
    };
    return attacks;
}

}  // namespace qxdb_attack
