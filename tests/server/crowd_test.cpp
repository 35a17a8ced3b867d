// As many clients as the server has to hold.
#include <thread>

#include <gtest/gtest.h>

#include "messages/type_codes.h"
#include "tests/server/test_server.h"

namespace qxdb_test {
namespace {

TEST(Crowd, AThousandIdleSessionsAndSixtyFourBusyOnes) {
    constexpr std::size_t kIdle = 1000;
    constexpr std::size_t kBusy = 64;
    constexpr int kRequests = 20;
    TestServer server;
    server.LoggedIn().Execute(L"CREATE TABLE t(client INTEGER, n INTEGER)");
    std::vector<RawClient> idle;
    for (std::size_t i = 0; i < kIdle; ++i) {
        idle.push_back(server.LoggedIn());
    }
    std::vector<std::thread> busy;
    std::atomic<int> served{0};
    for (std::size_t i = 0; i < kBusy; ++i) {
        busy.emplace_back([&, i] {
            RawClient client = server.LoggedIn();
            const std::wstring me = std::to_wstring(i);
            for (int n = 0; n < kRequests; ++n) {
                const bool write = n % 10 == 0;
                const std::wstring insert = L"INSERT INTO t VALUES (" + me + L", 1)";
                served += write ? client.Execute(insert).Error() == 0
                                : client.Number(L"SELECT " + me) == static_cast<std::int64_t>(i);
            }
        });
    }
    for (std::thread& each : busy) {
        each.join();
    }
    EXPECT_EQ(served, static_cast<int>(kBusy) * kRequests);
    EXPECT_EQ(server.LoggedIn().Number(L"SELECT count(*) FROM t"), kBusy * kRequests / 10);
    EXPECT_GE(server.Get().Stats().open, kIdle);
    for (RawClient& each : idle) {
        ASSERT_EQ(each.Handshake().Error(), 0);
    }
}

}  // namespace
}  // namespace qxdb_test
