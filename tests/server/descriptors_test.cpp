// A server that has run out of descriptors.
#include <algorithm>
#include <atomic>
#include <sys/socket.h>
#include <unistd.h>

#include <Poco/AutoPtr.h>
#include <Poco/Channel.h>
#include <ace/INET_Addr.h>
#include <gtest/gtest.h>

#include "server/log.h"
#include "tests/server/test_server.h"

namespace qxdb_test {
namespace {

/// Counts what the server logs.
class CountingChannel : public Poco::Channel {
  public:
    void log(const Poco::Message&) override { ++count; }
    std::atomic<int> count{0};
};

TEST(Descriptors, WithoutAnyTheServerWaitsAndCanStillBeStopped) {
    const Poco::AutoPtr<CountingChannel> errors(new CountingChannel);
    CQXSERVER::ServerLog().setChannel(errors);
    CQXSERVER::ServerLog().setLevel("error");
    for (const bool stopAtOnce : {false, true}) {
        TestServer server;
        const int client = socket(AF_INET, SOCK_STREAM, 0);
        std::vector<int> hoard;
        for (int each = dup(client); each != -1; each = dup(client)) {
            hoard.push_back(each);
        }
        const ACE_INET_Addr address(server.Get().Port(), INADDR_LOOPBACK);
        const int before = errors->count;
        ASSERT_EQ(connect(client, static_cast<sockaddr*>(address.get_addr()),
                          static_cast<socklen_t>(address.get_size())),
                  0);
        EXPECT_TRUE(Eventually([&] { return errors->count > before; }));
        if (!stopAtOnce) {
            std::for_each(hoard.begin(), hoard.end(), close);
            EXPECT_TRUE(Eventually([&] { return server.Get().Stats().accepted == 1; }));
            EXPECT_EQ(server.LoggedIn().Number(L"SELECT 1"), 1);
        } else {
            server.Stop();
            std::for_each(hoard.begin(), hoard.end(), close);
        }
        close(client);
    }
    CQXSERVER::ServerLog().setLevel("none");
}

}  // namespace
}  // namespace qxdb_test
