// What one thread runs, another one ends.
#include <future>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <qxdb/DBMgrErrors.h>

#include "tests/end_to_end/databases.h"
#include "tests/support/Certificates.h"
#include "tests/support/RemoteAgent.h"

namespace {

using namespace CQXDB;
using namespace qxdb_test;
using std::chrono::seconds;

struct CancelWorld {
    CancelWorld() : server(QXDB_SERVER_PROGRAM, Arguments()) {}

    std::vector<std::string> Arguments() {
        const CertificateFiles files = certificates.Server();
        std::vector<std::string> arguments = {"--tls-certificate", files.certificate, "--tls-key",
                                              files.key};
        for (const auto& [name, url] : databases.Urls()) {
            arguments.emplace_back("--database");
            arguments.emplace_back(name).append("=").append(url);
        }
        return arguments;
    }

    Certificates certificates;
    Databases databases;
    QxdbServer server;
};

class Cancelling : public testing::TestWithParam<std::size_t> {
  protected:
    static void SetUpTestSuite() { world_ = std::make_unique<CancelWorld>(); }
    static void TearDownTestSuite() { world_.reset(); }

    const wchar_t* Endless() const {
        static const wchar_t* const all[] = {
            L"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) "
            L"SELECT count(*) FROM n",
            L"SELECT pg_sleep(60)", L"SELECT SLEEP(60)"};
        return all[GetParam()];
    }

    /// Cancels the endless query once it runs, and works on.
    void ExpectCancelled(DBAgent& agent) {
        EXPECT_TRUE(agent.Cancel()) << "nothing runs";
        std::future<Answer> call =
            std::async(std::launch::async, [&] { return Query(agent, Endless()); });
        // Whenever it comes: before the call, within it, at its start.
        while (call.wait_for(seconds(0)) != std::future_status::ready) {
            EXPECT_TRUE(agent.Cancel());
        }
        const Answer answer = call.get();
        EXPECT_EQ(answer.code, DBMGR_CANCELLED) << answer;
        EXPECT_NE(answer.text.find(L"cancelled"), std::wstring::npos) << answer;
        for (int i = 0; i < 3; ++i) {
            const Answer next = Query(agent, L"SELECT 6 * 7");
            ASSERT_EQ(next.code, 0) << next;
            EXPECT_EQ(next.rows.GetInt64(0, 0), 42);
        }
    }

    static std::unique_ptr<CancelWorld> world_;
};

std::unique_ptr<CancelWorld> Cancelling::world_;

TEST_P(Cancelling, EndsAStatementLocallyAndRemotelyAndTheAgentGoesOn) {
    const auto& [name, url] = world_->databases.Urls().at(GetParam());
    QXDataSource source;
    std::wstring error;
    ASSERT_TRUE(QXDataSource::FromUrl(Wide(url), source, error)) << Utf8(error);
    DBAgent local;
    local.initDB(source);
    ExpectCancelled(local);

    DBAgent remote;
    LogIn(remote, world_->server, {}, Wide(name));
    ExpectCancelled(remote);

    DBAgent secure;
    secure.SetTls(world_->certificates.Info());
    LogIn(secure, world_->server, {}, Wide(name));
    ExpectCancelled(secure);
}

INSTANTIATE_TEST_SUITE_P(Databases, Cancelling, testing::Range<std::size_t>(0, Databases::kCount));

TEST(Cancel, KeepsADatabaseInMemoryAndUndoesAList) {
    DBAgent agent;
    agent.initDB(CQXDB_DS_EMBEDDED, L"", 0, L":memory:", L"", L"", L"", false);
    ASSERT_EQ(Execute(agent, L"CREATE TABLE t(n INTEGER)").code, 0);
    QXCommandList list;
    list.Add(QXCommand(L"INSERT INTO t VALUES(1)"));
    list.Add(
        QXCommand(L"INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 "
                  L"FROM n) SELECT count(*) FROM n"));
    std::future<Answer> call = std::async(std::launch::async, [&] { return Execute(agent, list); });
    while (call.wait_for(seconds(0)) != std::future_status::ready) {
        EXPECT_TRUE(agent.Cancel());
    }
    EXPECT_EQ(call.get().code, DBMGR_CANCELLED);
    const Answer answer = Query(agent, L"SELECT count(*) FROM t");
    ASSERT_EQ(answer.code, 0) << answer;
    EXPECT_EQ(answer.rows.GetInt64(0, 0), 0);
}

}  // namespace
