#include <cerrno>

#include <gtest/gtest.h>

#include "tests/transport/fixtures.h"
#include "tests/transport/loopback.h"

namespace CQXBASE {
namespace {

TEST(Transport, ErrorsAreNumberedTheSameEverywhere) {
    QXIO io(L"", 0, 0, L"", 0, L"", L"");
    const auto recorded = [&io](int error) {
        int code = 0;
        std::wstring text;
        errno = error;
        io.record_socket_error(L"context", code, text);
        return std::to_wstring(code) + L" " + text;
    };
    EXPECT_EQ(recorded(0), L"-1 context, unknown error.(-1).");
    EXPECT_EQ(recorded(ECONNREFUSED), L"10061 context, no listener.(10061).");
    EXPECT_EQ(recorded(ECONNRESET), L"10054 context, Connection reset by peer(10054).");
    EXPECT_EQ(recorded(EPIPE), L"10054 context, Broken pipe(10054).");
    EXPECT_EQ(recorded(ETIMEDOUT), L"10060 context, Connection timed out(10060).");
    EXPECT_EQ(recorded(ENOMEM), L"12 context, Cannot allocate memory(12).");
}

TEST(Transport, WrappedStreamStaysTheCallers) {
    StreamPair pair;
    {
        OpenQXIO io(pair.near);
        EXPECT_EQ(io.handle(), pair.near.get_handle());
        EXPECT_EQ(io.open_connection(), 0);
        Write(pair.far, "x");
        EXPECT_FALSE(io.probe_connection());
        std::wstring ip;
        EXPECT_EQ(io.GetClientIp(ip), L"127.0.0.9");
        EXPECT_EQ(&io.GetClientIp(ip), &ip);
    }
    Write(pair.near, "still open");
    EXPECT_EQ(Read(pair.far, 10), "still open");
}

TEST(Transport, CloseStreamTakesAWrappedOneAway) {
    StreamPair pair;
    auto* stream = new ACE_SOCK_Stream(pair.near.get_handle());
    pair.near.set_handle(ACE_INVALID_HANDLE);
    OpenQXIO io(*stream);
    io.close_stream();
    EXPECT_EQ(io.handle(), ACE_INVALID_HANDLE);
    io.close_stream();
    char byte = 0;
    EXPECT_EQ(pair.far.recv_n(&byte, 1), -1);  // a reset, not an orderly end
    EXPECT_EQ(errno, ECONNRESET);
}

TEST(Transport, StateOfANewClient) {
    OpenQXIO io(1);
    std::wstring ip;
    EXPECT_EQ(io.GetClientIp(ip), L"0.0.0.0");
    EXPECT_EQ(io.handle(), ACE_INVALID_HANDLE);
    EXPECT_EQ(io.LastErrorCode(), 0);
    EXPECT_EQ(io.LastErrorText(), L"");
    EXPECT_FALSE(io.probe_connection());
}

TEST(Transport, HandleOfTheStream) {
    StreamPair pair;
    ACE_SOCK_Stream stream;
    OpenQXIO io(stream);
    io.handle(pair.near.get_handle());
    EXPECT_EQ(stream.get_handle(), pair.near.get_handle());
}

}  // namespace
}  // namespace CQXBASE
