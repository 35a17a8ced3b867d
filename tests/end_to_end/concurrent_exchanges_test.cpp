// Agents of one process that exchange with the server side by side.
#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <qxdb/DBMgrErrors.h>

#include "tests/support/Certificates.h"
#include "tests/support/RemoteAgent.h"

namespace {

using namespace CQXDB;
using namespace qxdb_test;

class ConcurrentExchanges : public testing::Test {
  protected:
    ConcurrentExchanges() : server_(QXDB_SERVER_PROGRAM, Arguments()) {
        DBAgent::AllowConcurrentExchanges(true);
    }
    ~ConcurrentExchanges() override { DBAgent::AllowConcurrentExchanges(false); }

    std::vector<std::string> Arguments() {
        const CertificateFiles files = certificates_.Server();
        return {"--tls-certificate", files.certificate, "--tls-key", files.key};
    }

    /// Rows, errors and new connections, some with TLS, whose texts name who has asked for them.
    void Work(int client, int rounds) {
        DBAgent first;
        if (client % 2 != 0) {
            first.SetTls(certificates_.Info());
        }
        LogIn(first, server_);
        for (int round = 0; round < rounds; ++round) {
            DBAgent second;
            if (round % 8 == 7) {
                second.SetTls(certificates_.Info());
                second.init(Wide(server_.Address()), {}, first.token(), false);
            }
            DBAgent& agent = second.isLocal() ? first : second;
            const std::wstring mark = std::to_wstring(client) + L"_" + std::to_wstring(round);
            if (round % 4 == 3) {
                const Answer refused = Query(agent, QXCommand(L"SELECT x" + mark));
                EXPECT_NE(refused.code, 0);
                EXPECT_NE(refused.text.find(L"x" + mark), std::wstring::npos) << refused;
            } else {
                ExpectRows(agent, mark, 1 + 300 * (round % 3));
            }
        }
    }

    static void ExpectRows(DBAgent& agent, const std::wstring& mark, int count) {
        const Answer answer = Query(
            agent,
            QXCommand(L"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n "
                      L"WHERE i < " +
                      std::to_wstring(count) + L") SELECT '" + mark + L"' || '/' || i FROM n"));
        ASSERT_EQ(answer.code, 0) << Utf8(answer.text);
        ASSERT_EQ(answer.rows.RowCount(), static_cast<std::size_t>(count));
        for (const int row : {0, count - 1}) {
            EXPECT_EQ(answer.rows.GetText(static_cast<std::size_t>(row), 0),
                      mark + L"/" + std::to_wstring(row + 1));
        }
    }

    Certificates certificates_;
    QxdbServer server_;
};

TEST_F(ConcurrentExchanges, EachAgentGetsItsOwnRepliesWhateverIsAllowedMeanwhile) {
    constexpr int kClients = 8;
    constexpr int kRounds = 32;
    std::atomic<int> left{kClients};
    std::vector<std::thread> threads;
    for (int client = 0; client < kClients; ++client) {
        threads.emplace_back([&, client] {
            EXPECT_NO_THROW(Work(client, kRounds));
            --left;
        });
    }
    for (bool allow = false; left != 0; allow = !allow) {
        DBAgent::AllowConcurrentExchanges(allow);
        std::this_thread::yield();
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(ConcurrentExchanges, CancelEndsTheStatementOfItsOwnAgent) {
    const wchar_t* const endless =
        L"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT count(*) FROM n";
    DBAgent agents[2];
    std::future<Answer> calls[2];
    for (int i = 0; i < 2; ++i) {
        LogIn(agents[i], server_);
        calls[i] = std::async(std::launch::async, [&, i] { return Query(agents[i], endless); });
    }
    const auto isOver = [&](int i) {
        return calls[i].wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    };
    for (int i = 0; i < 2; ++i) {
        while (!isOver(i)) {
            EXPECT_TRUE(agents[i].Cancel());
        }
        EXPECT_FALSE(i == 0 && isOver(1));
        const Answer answer = calls[i].get();
        EXPECT_EQ(answer.code, DBMGR_CANCELLED) << answer;
        EXPECT_EQ(Query(agents[i], L"SELECT 6 * 7").rows.GetInt64(0, 0), 42);
    }
}

}  // namespace
