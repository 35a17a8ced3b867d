// Transactions that span calls: the same scenario locally and through the server, on each database.
#include <future>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <qxdb/DBMgrErrors.h>

#include "tests/end_to_end/served_databases.h"
#include "tests/support/RemoteAgent.h"

namespace {

using namespace CQXDB;
using namespace qxdb_test;
using std::chrono::seconds;

/// Writes down what an agent's calls come to.
class Teller {
  public:
    Teller(DBAgent& agent, const char* name, std::ostream& out)
        : agent_(agent), name_(name), out_(out) {}

    void Begin(QXIsolation isolation = QXISOLATION_DEFAULT, bool readOnly = false) {
        Tell("begin", [&](long& code, std::wstring& text) {
            agent_.Begin(code, text, {isolation, readOnly});
        });
    }
    void Commit() {
        Tell("commit", [&](long& code, std::wstring& text) { agent_.Commit(code, text); });
    }
    void Rollback() {
        Tell("rollback", [&](long& code, std::wstring& text) { agent_.Rollback(code, text); });
    }
    void Do(const std::string& sql) { Write(sql, Execute(agent_, Wide(sql).c_str()).code); }
    void Insert(int n) { Do("INSERT INTO t VALUES(" + std::to_string(n) + ")"); }
    void InsertAll(const std::vector<int>& numbers) {
        QXCommandList list;
        for (const int n : numbers) {
            list.Add(QXCommand(L"INSERT INTO t VALUES(" + std::to_wstring(n) + L")"));
        }
        Write("list", Execute(agent_, list).code);
    }
    void Rows() {
        QXCommandList list;
        list.Add(QXCommand(L"SELECT n FROM t ORDER BY n"));
        QXRsList results;
        long code = 0;
        std::wstring text;
        agent_.BatchQry(code, text, list, results);
        out_ << name_ << " rows:";
        for (std::size_t i = 0; code == 0 && i < results.At(0).RowCount(); ++i) {
            out_ << ' ' << results.At(0).GetInt64(i, 0);
        }
        out_ << (code == 0 ? "" : " error " + std::to_string(code)) << '\n';
    }
    /// An endless query, until it is cancelled.
    void Cancelled(const wchar_t* endless) {
        std::future<Answer> call =
            std::async(std::launch::async, [&] { return Query(agent_, endless); });
        while (call.wait_for(seconds(0)) != std::future_status::ready) {
            agent_.Cancel();
        }
        Write("endless", call.get().code);
    }

  private:
    template <typename Call>
    void Tell(const char* what, const Call& call) {
        long code = 1;
        std::wstring text;
        call(code, text);
        Write(what, code);
    }
    void Write(const std::string& what, long code) {
        out_ << name_ << ' ' << what << (code == 0 ? "" : " error " + std::to_string(code))
             << (agent_.InTransaction() ? " *" : "") << '\n';
    }

    DBAgent& agent_;
    const char* name_;
    std::ostream& out_;
};

std::string Scenario(DBAgent& one, DBAgent& other, const wchar_t* endless) {
    std::ostringstream out;
    Teller a(one, "a", out);
    Teller b(other, "b", out);
    Execute(one, L"DROP TABLE IF EXISTS t");
    a.Do("CREATE TABLE t(n INTEGER PRIMARY KEY)");
    out << "- seen by others when it is committed\n";
    a.Begin();
    a.Insert(1);
    a.Rows();
    b.Rows();
    a.Commit();
    b.Rows();
    out << "- undone\n";
    a.Begin();
    a.Insert(2);
    a.Rollback();
    a.Rows();
    out << "- lists are all or nothing\n";
    a.Begin();
    a.Insert(3);
    a.InsertAll({4, 1});
    a.InsertAll({5, 6});
    a.Rows();
    a.Commit();
    out << "- what it refuses\n";
    a.Commit();
    a.Rollback();
    a.Begin();
    a.Begin();
    a.Do("COMMIT");
    a.Insert(7);
    a.Rollback();
    a.Begin(QXISOLATION_DEFAULT, true);
    a.Insert(8);
    a.Rollback();
    out << "- isolation\n";
    for (const QXIsolation level : {QXISOLATION_READ_COMMITTED, QXISOLATION_REPEATABLE_READ}) {
        a.Begin(level);
        a.Rows();
        b.Insert(10 + level);
        a.Rows();
        a.Commit();
    }
    out << "- after an error\n";
    a.Begin();
    a.Insert(20);
    a.Insert(1);
    a.Insert(21);
    a.Commit();
    b.Rows();
    out << "- cancelled\n";
    a.Begin();
    a.Insert(30);
    a.Cancelled(endless);
    a.Rollback();
    a.Rows();
    return out.str();
}

class SpanningCalls : public testing::TestWithParam<std::size_t> {
  protected:
    static void SetUpTestSuite() { world_ = std::make_unique<ServedDatabases>(); }
    static void TearDownTestSuite() { world_.reset(); }
    static std::unique_ptr<ServedDatabases> world_;
};

std::unique_ptr<ServedDatabases> SpanningCalls::world_;

/// `isolation` is the second look at two levels, `error` what follows on a failed command.
std::string Expected(const std::string& duplicate, const std::string& readOnly,
                     const std::string& isolation, const std::string& error,
                     const std::string& cancelled) {
    return "a CREATE TABLE t(n INTEGER PRIMARY KEY)\n"
           "- seen by others when it is committed\n"
           "a begin *\na INSERT INTO t VALUES(1) *\na rows: 1\nb rows:\na commit\nb rows: 1\n"
           "- undone\n"
           "a begin *\na INSERT INTO t VALUES(2) *\na rollback\na rows: 1\n"
           "- lists are all or nothing\n"
           "a begin *\na INSERT INTO t VALUES(3) *\na list error " +
           duplicate +
           " *\na list *\na rows: 1 3 5 6\na commit\n"
           "- what it refuses\n"
           "a commit error -7016\na rollback error -7016\na begin *\na begin error -7019 *\n"
           "a COMMIT error -7011 *\na INSERT INTO t VALUES(7) *\na rollback\n"
           "a begin *\na INSERT INTO t VALUES(8) error " +
           readOnly +
           " *\na rollback\n"
           "- isolation\n" +
           isolation + "- after an error\na begin *\na INSERT INTO t VALUES(20) *\n" + error +
           "- cancelled\na begin *\na INSERT INTO t VALUES(30) *\na endless error -7015 *\n" +
           cancelled;
}

TEST_P(SpanningCalls, AreTheSameLocallyAndRemotely) {
    const auto [name, url] = world_->databases.AllUrls().at(GetParam());
    QXDataSource source;
    std::wstring error;
    ASSERT_TRUE(QXDataSource::FromUrl(Wide(url), source, error)) << Utf8(error);
    static const wchar_t* const endless[] = {
        L"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT count(*) FROM n",
        L"SELECT pg_sleep(60)", L"SELECT SLEEP(60)", L"SELECT pg_sleep(60)", L"SELECT SLEEP(60)"};
    const auto insert = [](int n, const std::string& end) {
        return "a INSERT INTO t VALUES(" + std::to_string(n) + ")" + end + "\n";
    };
    const auto looks = [](const std::string& first, const std::string& second) {
        return "a begin *\na rows: 1 3 5 6\nb INSERT INTO t VALUES(12)\na rows: 1 3 5 6" + first +
               "\na commit\na begin *\na rows: 1 3 5 6 12\nb INSERT INTO t VALUES(13)\n"
               "a rows: 1 3 5 6 12" +
               second + "\na commit\n";
    };
    const auto sqlState = [](const char* state) { return std::to_string(SqlStateCode(state)); };
    const std::string duplicate = sqlState("23505");
    const std::string failed = " error " + sqlState("25P02");
    const std::string postgres =
        Expected(duplicate, sqlState("25006"), looks(" 12", ""),
                 insert(1, " error " + duplicate + " *") + insert(21, failed + " *") + "a commit" +
                     failed + "\nb rows: 1 3 5 6 12 13\n",
                 "a rollback\na rows: 1 3 5 6 12 13\n");
    const auto goesOn = [&](const std::string& code) {
        return insert(1, " error " + code + " *") + insert(21, " *") +
               "a commit\nb rows: 1 3 5 6 12 13 20 21\n";
    };
    const std::string stays = "a rollback\na rows: 1 3 5 6 12 13 20 21\n";
    const std::string expected[] = {
        Expected("1555", "8", looks("", ""), goesOn("1555"), stays), postgres,
        Expected("1062", "1792", looks(" 12", ""), goesOn("1062"), stays),
        // The driver undoes failed statements by savepoints of its own.
        Expected(duplicate, sqlState("25006"), looks(" 12", ""), goesOn(duplicate), stays),
        Expected("1062", "1792", looks(" 12", ""), goesOn("1062"), stays)};

    DBAgent a;
    DBAgent b;
    a.initDB(source);
    b.initDB(source);
    EXPECT_EQ(Scenario(a, b, endless[GetParam()]), expected[GetParam()]);
    DBAgent remoteA;
    DBAgent remoteB;
    LogIn(remoteA, world_->server, {}, Wide(name));
    LogIn(remoteB, world_->server, {}, Wide(name));
    EXPECT_EQ(Scenario(remoteA, remoteB, endless[GetParam()]), expected[GetParam()]);
}

INSTANTIATE_TEST_SUITE_P(Databases, SpanningCalls,
                         testing::Range<std::size_t>(0, Databases::kAllCount));

}  // namespace
