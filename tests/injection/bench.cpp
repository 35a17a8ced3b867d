#include "tests/injection/bench.h"

#include <exception>
#include <stdexcept>

#include "tests/support/RemoteAgent.h"
#include "tests/support/TestTls.h"

namespace qxdb_test {
namespace {

using namespace CQXDB;

const wchar_t kLongText[] = L"a text that is too long to lie inside of a string object";

QXCommand With(std::int64_t mark, const wchar_t* sql) {
    QXCommand command(sql);
    command.AddParam(QXValue::Int64(mark));
    return command;
}

QXCommand Insert(std::int64_t mark) {
    QXCommand insert = With(mark, L"INSERT INTO t VALUES (?, ?, ?)");
    insert.AddParam(QXValue::Text(kLongText));
    insert.AddParam(QXValue::Blob(kLongText, sizeof kLongText));
    return insert;
}

QXCommand Select() {
    return QXCommand(L"SELECT n, s, b FROM t WHERE n < 1000 ORDER BY n");
}

bool AreSeedRows(const QXRecordset& rs) {
    return rs.RowCount() == Bench::kSeedRows && rs.ColumnCount() == 3 &&
           rs.GetText(Bench::kSeedRows - 1, 1) == kLongText &&
           rs.GetInt64(Bench::kSeedRows - 1, 0) == Bench::kSeedRows;
}

std::string Said(const Answer& answer) {
    return std::to_string(answer.code) + " " + Utf8(answer.text);
}

void Require(const Answer& answer) {
    if (answer.code != 0) {
        throw std::runtime_error(Said(answer));
    }
}

Result ExecuteOne(Bench& bench) {
    QXCommand insert = Insert(bench.NextMark());
    return bench.Try(
        [&](Result& result) { bench.Agent().Execute(result.code, result.text, insert); });
}

Result ExecuteList(Bench& bench) {
    const std::int64_t mark = bench.NextMark();
    QXCommandList list;
    list.Add(Insert(mark));
    list.Add(Insert(mark));
    list.Add(With(mark, L"INSERT INTO t SELECT ?, s, b FROM t WHERE n = 1"));
    return bench.Try(
        [&](Result& result) { bench.Agent().Execute(result.code, result.text, list); });
}

Result QueryRows(Bench& bench) {
    bench.NextMark();
    QXCommand query = Select();
    QXRecordset rs;
    Result result =
        bench.Try([&](Result& out) { bench.Agent().OpenQuery(out.code, out.text, query, rs); });
    result.right = result.code == 0 ? AreSeedRows(rs) : rs.RowCount() == 0;
    return result;
}

Result QueryBatch(Bench& bench) {
    QXCommandList list;
    list.Add(Select());
    list.Add(With(bench.NextMark(), L"INSERT INTO t VALUES (?, NULL, NULL) RETURNING n"));
    list.Add(Select());
    QXRsList sets;
    Result result =
        bench.Try([&](Result& out) { bench.Agent().BatchQry(out.code, out.text, list, sets); });
    result.right = result.code == 0
                       ? sets.Count() == 3 && AreSeedRows(sets.At(0)) && AreSeedRows(sets.At(2))
                       : sets.Count() == 0;
    return result;
}

/// A cursor without a transaction of the agent's, which is left in the middle.
Result FetchFromCursor(Bench& bench) {
    bench.NextMark();
    QXCommand query = Select();
    QXRecordset rs;
    bool whole = false;
    Result result = bench.Try([&](Result& out) {
        QXCursor cursor;
        bench.Agent().OpenCursor(out.code, out.text, query, cursor);
        std::int64_t next = 1;
        whole = true;
        for (int portion = 0; out.code == 0 && portion < 2; ++portion) {
            cursor.Fetch(out.code, out.text, rs, 7);
            for (const auto row : rs) {
                whole = whole && row.GetInt64(0) == next++;
            }
        }
        whole = whole && next == 15;
    });
    result.right = result.code == 0 ? whole : rs.RowCount() == 0;
    return result;
}

/// What a failed command leaves behind is rolled back, with a lack of memory or not.
Result ExecuteInTransaction(Bench& bench) {
    QXCommand insert = Insert(bench.NextMark());
    Result result = bench.Try([&](Result& out) {
        DBAgent& agent = bench.Agent();
        agent.Begin(out.code, out.text);
        for (int i = 0; out.code == 0 && i < 2; ++i) {
            agent.Execute(out.code, out.text, insert);
        }
        if (out.code == 0) {
            agent.Commit(out.code, out.text);
        }
    });
    if (bench.Agent().InTransaction()) {
        Result rollback;
        bench.Agent().Rollback(rollback.code, rollback.text);
        result.right = rollback.code == 0;
    }
    return result;
}

}  // namespace

std::vector<Operation> Bench::Operations() const {
    return {{"execute", ExecuteOne, 1},         {"transaction", ExecuteInTransaction, 2},
            {"execute a list", ExecuteList, 3}, {"query", QueryRows, 0},
            {"cursor", FetchFromCursor, 0},     {"batch", QueryBatch, 1}};
}

std::map<std::int64_t, std::int64_t> Bench::RowsOfMarks() {
    const Answer answer = Query(*agent_, L"SELECT n, count(*) FROM t WHERE n >= 1000 GROUP BY n");
    Require(answer);
    std::map<std::int64_t, std::int64_t> rows;
    for (const auto row : answer.rows) {
        rows[row.GetInt64(0)] = row.GetInt64(1);
    }
    return rows;
}

std::string Bench::Complaint() {
    const Answer answer = Query(*agent_, Select());
    return answer.code == 0 && AreSeedRows(answer.rows) ? "" : Said(answer);
}

Result Bench::Try(const std::function<void(Result&)>& call) {
    Result result;
    before();
    try {
        call(result);
        after();
    } catch (const std::exception& error) {
        after();
        result.thrown = error.what();
    }
    return result;
}

void Bench::Run(const std::wstring& sql) {
    Require(Execute(*agent_, QXCommand(sql)));
}

void Bench::Clean() {
    Run(L"DELETE FROM t WHERE n >= 1000");
}

void Bench::MakeTable() {
    Run(L"CREATE TABLE t(n INTEGER, s TEXT, b BLOB);"
        L"CREATE INDEX by_n ON t(n);"
        L"INSERT INTO t WITH RECURSIVE c(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM c LIMIT " +
        std::to_wstring(kSeedRows) + L") SELECT n, '" + kLongText + L"', zeroblob(100) FROM c");
}

LocalBench::LocalBench(CQXDB_DSType_ENUM type) : type_(type) {
    Renew();
    MakeTable();
}

LocalBench::~LocalBench() {
    agent_->CloseConn();
}

void LocalBench::Renew() {
    if (agent_ != nullptr) {
        agent_->CloseConn();
    }
    agent_ = std::make_unique<DBAgent>();
    agent_->initDB(type_, L"", 0, Wide(folder_.File("local.db")), L"", L"", L"", false);
}

RemoteBench::RemoteBench(QxdbServer& server) : server_(server) {
    Renew();
    MakeTable();
}

void RemoteBench::Renew() {
    agent_ = std::make_unique<DBAgent>();
    UseTestTls(*agent_);
    LogIn(*agent_, server_);
}

Result RemoteBench::LogInAgain() {
    const std::wstring host = L"127.0.0.1";
    NextMark();
    agent_->VirLogout(host, server_.Port(), {}, L"");
    agent_ = std::make_unique<DBAgent>();  // so that it has to connect
    agent_->SetIsLocal(false);
    UseTestTls(*agent_);
    std::wstring info;
    std::wstring token;
    const std::wstring login = Wide(std::string(QxdbServer::kUser) + "|~|" + QxdbServer::kPassword);
    Result result = Try([&](Result& out) {
        out.right = agent_->Login(host, server_.Port(), {}, login, info, token);
    });
    result.code = agent_->errCode_;
    result.text = agent_->errText_;
    result.right = result.right ? result.code == 0 && !token.empty() : result.code != 0;
    if (result.code != 0) {
        LogIn(*agent_, server_);
    }
    return result;
}

std::vector<Operation> RemoteBench::Operations() const {
    std::vector<Operation> all = Bench::Operations();
    all.insert(
        all.begin(),
        {"login", [](Bench& bench) { return static_cast<RemoteBench&>(bench).LogInAgain(); }, 0});
    return all;
}

}  // namespace qxdb_test
