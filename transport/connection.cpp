// How a transport makes, checks and drops its connection.
#include <algorithm>
#include <cerrno>
#include <chrono>

#include <ace/OS_NS_sys_socket.h>
#include <ace/SOCK_Connector.h>

#include "platform/sockets/errors.h"
#include "platform/sockets/handshake.h"
#include "platform/sockets/options.h"
#include "platform/text/error_text.h"
#include "proxy/proxy_handshake.h"
#include "proxy/socket_io.h"
#include "tls/client_stream.h"
#include "transport/qxio.h"
#include "util/text.h"

namespace CQXBASE {
namespace {

/// A proxy that has a tunnel may yet wait for the server's host.
constexpr std::chrono::milliseconds kHandshakeTime{15000};

constexpr unsigned kKeepAliveIdleMs = 5000;
constexpr unsigned kKeepAliveIntervalMs = 15000;

/// Tries each address of `target`, "host:port", in turn, each for as long as `limit` allows, if it
/// isn't null. False leaves the last reason in errno.
bool Connect(ACE_SOCK_Stream& stream, const std::wstring& target, const ACE_Time_Value* limit) {
    ACE_INET_Addr address;
    errno = EINVAL;  // what an address that can't be read leaves as it is
    if (address.set(target.c_str(), AF_UNSPEC) == -1) {
        return false;
    }
    ACE_SOCK_Connector connector;
    do {
        if (connector.connect(stream, address, limit, ACE_Addr::sap_any, 1, 0, 0, 0) == 0) {
            return true;
        }
        const int error = errno;
        stream.close();  // ACE leaves the socket open after a time-out
        errno = error;
    } while (address.next());
    return false;
}

}  // namespace

int QXIO::open_connection() {
    if (!ownsStream_) {
        return 0;
    }
    if (tlsInfo_.enabled && tls_ == nullptr) {
        close_stream();  // what is left of an attempt; nothing is ever sent on it
    }
    if (peer_ != nullptr) {
        probe_connection();
    }
    if (peer_ != nullptr) {
        return 0;
    }
    const bool direct = proxyType_ == kProxyNone;
    const std::wstring& host = direct ? serverHost_ : proxyHost_;
    if (!check_port(host, serverPort_, L"the server's") ||
        (!direct && !check_port(host, proxyPort_, L"the proxy's"))) {
        return -1;
    }
    if (connect_peer(host + L":" + std::to_wstring(direct ? serverPort_ : proxyPort_)) != 0 ||
        (!direct && tunnel_through_proxy() != 0) ||
        (tlsInfo_.enabled && secure_connection() != 0)) {
        return -1;
    }
    return proactor_ == nullptr ? 0 : open_writer();
}

bool QXIO::check_port(const std::wstring& host, std::uint32_t port, const std::wstring& whose) {
    constexpr std::uint32_t kHighest = 65535;
    if (port <= kHighest) {
        return true;
    }
    constexpr int kCode = platform::sockets::kInvalidArgument;
    set_last_error(kCode,
                   L" connect to " + host + L" error, " +
                       platform::text::CodedText(whose + L" port is not within 0 to 65535", kCode));
    return false;
}

int QXIO::connect_peer(const std::wstring& target) {
    auto stream = std::make_unique<ACE_SOCK_Stream>();
    set_keepalive(*stream);
    const ACE_Time_Value limit(silenceMs_ / 1000, silenceMs_ % 1000 * 1000);
    if (!Connect(*stream, target, silenceMs_ == 0 ? nullptr : &limit)) {
        record_socket_error(L" connect to " + target + L" error", lastErrorCode_, lastErrorText_);
        return -1;
    }
    peer_ = stream.release();
    ++connection_;
    socketSilenceMs_ = 0;
    platform::sockets::KeepFromChildren(peer_->get_handle());
    platform::sockets::AddToSet(*handleSet_, peer_->get_handle());
    clear_send_buffer(*peer_);
    return 0;
}

int QXIO::tunnel_through_proxy() {
    ProxyParam proxy;
    proxy.type = proxyType_;
    proxy.host = ToNarrow(proxyHost_, kCodePageAnsi);
    proxy.port = static_cast<std::uint16_t>(proxyPort_);
    proxy.user = ToNarrow(proxyUser_, kCodePageAnsi);
    proxy.password = ToNarrow(proxyPassword_, kCodePageAnsi);
    midExchange_ = true;
    socketSilenceMs_ = kReceiveTimeoutMs;  // the handshake's, which stays
    std::wstring answer;
    if (ProxyHandshake(proxy, peer_->get_handle(), ToNarrow(serverHost_, kCodePageAnsi),
                       static_cast<std::uint16_t>(serverPort_), answer) == kProxyDone) {
        midExchange_ = false;
        return 0;
    }
    set_last_error(-1, L"连接代理服务器失败, " + answer);
    return -1;
}

void QXIO::UseTls(const CQXDB::QXTlsInfo& info) {
    if (!ownsStream_ || info == tlsInfo_) {
        return;
    }
    close_stream();
    tlsInfo_ = info;
}

int QXIO::secure_connection() {
    const std::chrono::milliseconds limit =
        silenceMs_ == 0 ? kHandshakeTime
                        : std::min(kHandshakeTime, std::chrono::milliseconds(silenceMs_));
    const auto context = [this] {
        return L" TLS with " + serverHost_ + L":" + std::to_wstring(serverPort_) + L" error";
    };
    try {
        tls_ = std::make_unique<tls::ClientStream>(tls::ClientContext(tlsInfo_), *peer_, tlsInfo_,
                                                   serverHost_);
        if (tls_->Handshake(limit)) {
            platform::sockets::SetReceiveTimeout(peer_->get_handle(), socketSilenceMs_);
            return 0;
        }
        record_socket_error(context(), lastErrorCode_, lastErrorText_);
    } catch (const tls::TlsError& error) {
        set_last_error(error.Reason().code,
                       context() + L", " +
                           platform::text::CodedText(error.Reason().text, error.Reason().code));
    } catch (...) {
        close_stream();
        throw;
    }
    close_stream();
    return -1;
}

bool QXIO::refuse_asynchronous() {
    if (!tlsInfo_.enabled) {
        return false;
    }
    set_last_error(CQXDB::QXTLS_NOT_ASYNCHRONOUS,
                   platform::text::CodedText(L"the asynchronous exchange has no TLS: use the "
                                             L"blocking one",
                                             CQXDB::QXTLS_NOT_ASYNCHRONOUS));
    return true;
}

bool QXIO::probe_connection() {
    if (!ownsStream_ || peer_ == nullptr) {
        return false;
    }
    bool idle = tls_ != nullptr
                    ? tls_->IsIdle()
                    : platform::sockets::ReadyToRead(*handleSet_, peer_->get_handle()) == 0;
    if (idle && tls_ == nullptr) {
        platform::sockets::AddToSet(*handleSet_, peer_->get_handle());
        platform::sockets::ClearLastError();
        char byte = 0;
        peer_->recv_n(&byte, 1, &ACE_Time_Value::zero);
        idle = platform::sockets::MeansIdle(platform::sockets::LastError());
    }
    if (!idle) {
        close_stream();
    }
    return !idle;
}

void QXIO::close_stream() {
    if (peer_ == nullptr) {
        return;
    }
    tls_.reset();
    if (handleSet_ != nullptr) {
        platform::sockets::RemoveFromSet(*handleSet_, peer_->get_handle());
    }
    hard_close(*peer_);
    delete peer_;
    peer_ = nullptr;
    midExchange_ = false;
    ++connection_;
}

void QXIO::hard_close(ACE_SOCK_Stream& stream) {
    linger reset{};
    reset.l_onoff = 1;
    reset.l_linger = 0;
    stream.set_option(SOL_SOCKET, SO_LINGER, &reset, static_cast<int>(sizeof reset));
    ACE_OS::closesocket(stream.get_handle());
    stream.set_handle(ACE_INVALID_HANDLE);
}

void QXIO::set_keepalive(ACE_SOCK_Stream& stream) {
    int on = 1;
    if (stream.set_option(SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on) == 0) {
        platform::sockets::SetKeepAliveTiming(stream, kKeepAliveIdleMs, kKeepAliveIntervalMs);
    }
}

void QXIO::clear_receive_buffer(ACE_SOCK_Stream& stream) {
    platform::sockets::ClearReceiveBuffer(stream);
}

void QXIO::clear_send_buffer(ACE_SOCK_Stream& stream) {
    platform::sockets::ClearSendBuffer(stream);
}

}  // namespace CQXBASE
