// The timing of keep-alive probes, which only some systems tell.
#include <netinet/tcp.h>

#include <gtest/gtest.h>

#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"

namespace CQXBASE {
namespace {

int TcpOption(const ACE_SOCK_Stream& stream, int option) {
    int value = -1;
    int size = sizeof value;
    stream.get_option(IPPROTO_TCP, option, &value, &size);
    return value;
}

TEST(KeepAlive, ProbesAfterFiveSecondsAndEveryFifteen) {
    StreamPair pair;
    OpenQXIO io(pair.nearEnd);
    io.set_keepalive(pair.nearEnd);
    EXPECT_EQ(TcpOption(pair.nearEnd, TCP_KEEPIDLE), 5);
    EXPECT_EQ(TcpOption(pair.nearEnd, TCP_KEEPINTVL), 15);
}

}  // namespace
}  // namespace CQXBASE
