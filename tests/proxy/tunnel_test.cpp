#include <array>
#include <string>
#include <utility>

#include <ace/INET_Addr.h>
#include <ace/SOCK_Connector.h>
#include <ace/SOCK_Stream.h>
#include <gtest/gtest.h>

#include <qxdb/QXSvrInfo.h>

#include "proxy/proxy_handshake.h"
#include "tests/support/FreePort.h"
#include "tests/support/ProxyServers.h"
#include "tests/transport/loopback.h"
#include "transport/qxio.h"

namespace CQXBASE {
namespace {

using qxdb_test::ProxyAccess;
using qxdb_test::ProxyServer;

/// A script of the server at the tunnel's far end: sends back what comes.
void EchoBytes(ACE_SOCK_Stream& client) {
    std::array<char, 65536> piece{};
    ssize_t count = 0;
    while ((count = client.recv(piece.data(), piece.size())) > 0) {
        client.send_n(piece.data(), static_cast<std::size_t>(count));
    }
}

struct Tunnel {
    int result = -1;
    std::wstring errText;
    std::string echoed;  ///< what came back through it, once it stands
};

const std::string kData(100'000, 'q');

struct Login {
    std::string user;
    std::string password;
};
const Login kRight{qxdb_test::kProxyUser, qxdb_test::kProxyPassword};
const Login kWrong{qxdb_test::kProxyUser, "wrong"};

/// Asks for a tunnel to the port and, when it stands, sends data and takes as much back.
Tunnel Ask(const ProxyServer& proxy, std::uint32_t kind, const Login& login, std::uint16_t port) {
    ACE_SOCK_Stream stream;
    EXPECT_EQ(0, ACE_SOCK_Connector().connect(stream, ACE_INET_Addr(proxy.Port(), "127.0.0.1")));
    Tunnel tunnel;
    tunnel.result = ProxyHandshake({kind, "127.0.0.1", proxy.Port(), login.user, login.password},
                                   stream.get_handle(), "127.0.0.1", port, tunnel.errText);
    if (tunnel.result == kProxyDone) {
        stream.send_n(kData.data(), kData.size());
        tunnel.echoed.resize(kData.size());
        stream.recv_n(tunnel.echoed.data(), tunnel.echoed.size());
    }
    stream.close();
    return tunnel;
}

Tunnel Open(const ProxyServer& proxy, std::uint32_t kind, const Login& login = {}) {
    const LoopbackPeer peer({EchoBytes});
    return Ask(proxy, kind, login, peer.Port());
}

/// To a port where nobody listens.
Tunnel OpenNowhere(const ProxyServer& proxy, std::uint32_t kind, const Login& login = {}) {
    return Ask(proxy, kind, login, qxdb_test::FreePort());
}

void ExpectOpen(const Tunnel& tunnel) {
    EXPECT_EQ(kProxyDone, tunnel.result) << testing::PrintToString(tunnel.errText);
    EXPECT_TRUE(tunnel.echoed == kData) << "the tunnel carries other bytes";
}

void ExpectRefused(const Tunnel& tunnel, const std::wstring& answer = L"") {
    EXPECT_EQ(kProxyFailed, tunnel.result);
    EXPECT_EQ(answer, tunnel.errText.substr(0, answer.size()));
}

/// A proxy for everybody and one with a password, and how they say no.
void ExpectHttpTunnels(const ProxyServer& open, const ProxyServer& locked,
                       const std::wstring& nobody, const std::wstring& wrong,
                       const std::wstring& missing) {
    ExpectOpen(Open(open, kProxyHttp));
    ExpectRefused(OpenNowhere(open, kProxyHttp), nobody);
    ExpectOpen(Open(locked, kProxyHttp, kRight));
    ExpectRefused(Open(locked, kProxyHttp, kWrong), wrong);
    ExpectRefused(Open(locked, kProxyHttp), missing);
}

TEST(Tunnel, TinyproxyAndSquid) {
    const std::wstring missing = L" 407 Proxy Authentication Required";
    ExpectHttpTunnels(*qxdb_test::StartTinyproxy(ProxyAccess::Open),
                      *qxdb_test::StartTinyproxy(ProxyAccess::Password),
                      L"HTTP/1.1 500 Unable to connect", L"HTTP/1.0 401 Unauthorized",
                      L"HTTP/1.0" + missing);
    ExpectHttpTunnels(
        *qxdb_test::StartSquid(ProxyAccess::Open), *qxdb_test::StartSquid(ProxyAccess::Password),
        L"HTTP/1.1 503 Service Unavailable", L"HTTP/1.1" + missing, L"HTTP/1.1" + missing);
}

TEST(Tunnel, Dante) {
    const auto open = qxdb_test::StartDante(ProxyAccess::Open);
    ExpectOpen(Open(*open, kProxySocks4));
    ExpectOpen(Open(*open, kProxySocks4, kWrong));
    ExpectRefused(OpenNowhere(*open, kProxySocks4));
    ExpectOpen(Open(*open, kProxySocks5));
    ExpectRefused(Open(*open, kProxySocks5, kRight));
    ExpectRefused(OpenNowhere(*open, kProxySocks5));
    const auto locked = qxdb_test::StartDante(ProxyAccess::Password);
    ExpectOpen(Open(*locked, kProxySocks5, kRight));
    ExpectRefused(Open(*locked, kProxySocks5, kWrong));
    ExpectRefused(Open(*locked, kProxySocks5));
    ExpectRefused(Open(*locked, kProxySocks4));
}

TEST(Tunnel, Microsocks) {
    const auto open = qxdb_test::StartMicrosocks(ProxyAccess::Open);
    ExpectOpen(Open(*open, kProxySocks5));
    ExpectRefused(Open(*open, kProxySocks5, kRight));
    ExpectRefused(Open(*open, kProxySocks4));
    ExpectRefused(OpenNowhere(*open, kProxySocks5));
    const auto locked = qxdb_test::StartMicrosocks(ProxyAccess::Password);
    ExpectOpen(Open(*locked, kProxySocks5, kRight));
    ExpectRefused(Open(*locked, kProxySocks5, kWrong));
    ExpectRefused(Open(*locked, kProxySocks5));
}

TEST(Tunnel, CarriesTheAsynchronousExchange) {
    const auto http = qxdb_test::StartTinyproxy(ProxyAccess::Open);
    const auto socks = qxdb_test::StartMicrosocks(ProxyAccess::Open);
    for (const auto& [kind, proxy] :
         {std::pair(kProxyHttp, http.get()), {kProxySocks5, socks.get()}}) {
        const LoopbackPeer peer({EchoBytes});
        QXIO io(L"127.0.0.1", peer.Port(), kind, L"127.0.0.1", proxy->Port(), L"", L"");
        CQXDB::QXSvrInfo record;
        record.host = std::wstring(50'000, L'h');
        ASSERT_EQ(0, io.Asy_sendobj(record, 7, true)) << kind;
        char* data = nullptr;
        unsigned length = 0;
        std::string plain;
        unsigned typeCode = 0;
        bool enciphered = false;
        EXPECT_EQ(0, io.Asy_receive_data(data, length, plain, typeCode, enciphered)) << kind;
        EXPECT_TRUE(enciphered && typeCode == 7 && plain.size() > 100'000) << kind;
    }
}

}  // namespace
}  // namespace CQXBASE
