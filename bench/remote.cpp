// usage: bench_remote QXDBSERVER
// A small query, 100,000 rows of 10 columns and 10,000 inserts in one list: through qxdbserver,
// locally on the same kind of database, and what each part of the remote way costs by itself, in
// one run.
#include <cstdio>
#include <exception>
#include <stdexcept>

#include <qxdb/DBAgent.h>

#include "remote_parts.h"
#include "tests/support/QxdbServer.h"
#include "tests/support/RemoteAgent.h"
#include "timing.h"

namespace {

using namespace CQXDB;
using namespace qxdb_bench;

constexpr int kRows = 100000;
constexpr int kInserts = 10000;
constexpr double kMillis = 1e3;

void Require(long code, const std::wstring& text) {
    if (code != 0) {
        throw std::runtime_error(std::to_string(code) + " " + qxdb_test::Utf8(text));
    }
}

void Execute(DBAgent& agent, QXCommandList& list) {
    long code = 0;
    std::wstring text;
    agent.Execute(code, text, list);
    Require(code, text);
}

void Query(DBAgent& agent, QXCommand& command, QXRecordset& rows) {
    long code = 0;
    std::wstring text;
    agent.OpenQuery(code, text, command, rows);
    Require(code, text);
}

QXCommandList TableScript() {
    QXCommandList list;
    list.Add(
        QXCommand(L"CREATE TABLE ten (id INTEGER PRIMARY KEY, a INTEGER, b INTEGER, c INTEGER, "
                  L"x DOUBLE, y DOUBLE, s TEXT, t TEXT, u TEXT, m TIMESTAMP)"));
    list.Add(QXCommand(L"CREATE TABLE sink (id INTEGER, name TEXT, x DOUBLE)"));
    QXCommand insert(L"INSERT INTO ten VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    std::uint32_t random = 1;
    const auto next = [&random] { return random = random * 1664525U + 1013904223U; };
    for (std::int64_t id = 1; id <= kRows; ++id) {
        insert.ClearParams();
        insert.AddParam(QXValue::Int64(id));
        for (int i = 0; i < 3; ++i) {
            insert.AddParam(QXValue::Int64(next() % 1000000));
        }
        for (int i = 0; i < 2; ++i) {
            insert.AddParam(QXValue::Double(next() / 65536.0));
        }
        for (int i = 0; i < 3; ++i) {
            const std::string text =
                "text " + std::to_string(next()) + " " + std::to_string(next());
            insert.AddParam(QXValue::TextUtf8(text.substr(0, 12 + next() % 13)));
        }
        insert.AddParam(QXValue::Timestamp(1700000000000000LL + id * 1000003));
        list.Add(insert);
    }
    return list;
}

QXCommandList InsertList() {
    QXCommandList list;
    QXCommand insert(L"INSERT INTO sink VALUES (?, ?, ?)");
    for (int i = 0; i < kInserts; ++i) {
        insert.ClearParams();
        insert.AddParam(QXValue::Int64(i));
        insert.AddParam(QXValue::TextUtf8("name of number " + std::to_string(i)));
        insert.AddParam(QXValue::Double(i * 0.25));
        list.Add(insert);
    }
    return list;
}

void Report(const char* what, const Samples& remote, const Samples& local, const Parts& parts,
            double units, const char* unit) {
    const double median = remote.Median();
    std::printf("\n%s\n", what);
    std::printf("  remote   median %.3f ms  p95 %.3f  p99 %.3f  (%.0f %s/s)\n", median * kMillis,
                remote.Percentile(95) * kMillis, remote.Percentile(99) * kMillis, units / median,
                unit);
    std::printf("  local    median %.3f ms  (%.0f %s/s)\n", local.Median() * kMillis,
                units / local.Median(), unit);
    const auto share = [&](const char* name, double seconds) {
        std::printf("    %-22s %9.3f ms  %5.1f %%\n", name, seconds * kMillis,
                    100 * seconds / median);
    };
    share("two key derivations", parts.derivation);
    share("cipher", parts.cipher);
    share("bare socket echo", parts.socket);
    share("encoding", parts.encoding);
    share("database (local call)", local.Median());
    share("everything else", median - parts.Mandated() - parts.encoding - local.Median());
    std::printf("  remote / (derivations + cipher + echo) = %.3f\n", median / parts.Mandated());
}

void SmallQuery(DBAgent& remote, DBAgent& local) {
    constexpr int kRuns = 400;
    QXCommand query(L"SELECT a, s FROM ten WHERE id = ?");
    query.AddParam(QXValue::Int64(kRows / 2));
    QXRecordset rows;
    const auto there = Samples::Of(kRuns, [&] { Query(remote, query, rows); });
    QXCommand stamped = query;
    const auto here = Samples::Of(kRuns, [&] { Query(local, query, rows); });
    QXCommand emptyCommand;
    QXRecordset emptyRows;
    Report("small query by key", there, here,
           Measure(stamped, emptyCommand, rows, emptyRows, kRuns), 1, "requests");
}

void BigQuery(DBAgent& remote, DBAgent& local) {
    constexpr int kRuns = 7;
    QXCommand query(L"SELECT * FROM ten");
    QXRecordset rows;
    const auto there = Samples::Of(kRuns, [&] { Query(remote, query, rows); });
    QXCommand stamped = query;
    const auto here = Samples::Of(kRuns, [&] { Query(local, query, rows); });
    QXCommand emptyCommand;
    QXRecordset emptyRows;
    std::printf("\n(the reply's body is %zu bytes)", Encode(rows).size());
    Report("100,000 rows of 10 columns", there, here,
           Measure(stamped, emptyCommand, rows, emptyRows, kRuns), kRows, "rows");
}

void Inserts(DBAgent& remote, DBAgent& local) {
    constexpr int kRuns = 7;
    QXCommandList list = InsertList();
    const auto there = Samples::Of(kRuns, [&] { Execute(remote, list); });
    QXCommandList stamped = list;
    const auto here = Samples::Of(kRuns, [&] { Execute(local, list); });
    QXCommandList emptyList;
    QXRecordset none;
    QXRecordset emptyRows;
    std::printf("\n(the request's body is %zu bytes)", Encode(stamped).size());
    Report("10,000 inserts in one list", there, here,
           Measure(stamped, emptyList, none, emptyRows, kRuns), kInserts, "inserts");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: bench_remote QXDBSERVER\n", stderr);
        return 2;
    }
    try {
        const qxdb_test::QxdbServer server(argv[1]);
        DBAgent remote;
        qxdb_test::LogIn(remote, server);
        const qxdb_test::TempDir folder;
        DBAgent local;
        QXDataSource source;
        source.database = qxdb_test::Wide(folder.File("local.db"));
        local.initDB(source);
        QXCommandList script = TableScript();
        Execute(local, script);
        Execute(remote, script);
        SmallQuery(remote, local);
        BigQuery(remote, local);
        Inserts(remote, local);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_remote: %s\n", error.what());
        return 1;
    }
    return 0;
}
