#include "transport/qxio.h"

#include <cerrno>

#include "errors/caught_exception.h"
#include "platform/sockets/errors.h"
#include "platform/text/error_text.h"
#include "tls/client_stream.h"
#include "transport/frame_cipher.h"
#include "util/text.h"

namespace CQXBASE {
namespace {

/// A default-made address may be of either family, depending on the machine.
ACE_INET_Addr NoAddress() {
    return ACE_INET_Addr(static_cast<u_short>(0), "0.0.0.0", AF_INET);
}

std::string NarrowHostText(const ACE_INET_Addr& address) {
    char text[INET6_ADDRSTRLEN + 32] = {};  // an IPv6 address may carry a scope
    const char* host = address.get_host_addr(text, static_cast<int>(sizeof text));
    return host == nullptr ? std::string() : std::string(host);
}

std::wstring ErrorDescription(int error, int number) {
    if (number == platform::sockets::kConnectionRefused) {
        return L"no listener.";
    }
    const std::wstring text =
        error == 0 ? std::wstring()
                   : ToWide(platform::sockets::SocketErrorText(error), kCodePageAnsi);
    return text.empty() ? L"unknown error." : text;
}

}  // namespace

QXIO::QXIO(ACE_SOCK_Stream* stream, const ACE_INET_Addr& remote)
    : remoteAddr_(remote), peerHost_(NarrowHostText(remote)), peer_(stream) {}

QXIO::QXIO(const std::wstring& serverHost, unsigned serverPort, unsigned proxyType,
           const std::wstring& proxyHost, unsigned proxyPort, const std::wstring& proxyUser,
           const std::wstring& proxyPassword)
    : serverHost_(serverHost),
      serverPort_(serverPort),
      proxyType_(proxyType),
      proxyHost_(proxyHost),
      proxyPort_(proxyPort),
      proxyUser_(proxyUser),
      proxyPassword_(proxyPassword),
      ownsStream_(true),
      remoteAddr_(NoAddress()),
      peerHost_(NarrowHostText(remoteAddr_)),
      handleSet_(std::make_unique<ACE_Handle_Set>()) {}

QXIO::~QXIO() {
    const auto close = [this] {
        proactor_.reset();
        rxBlock_.reset();
        if (peer_ != nullptr && ownsStream_) {
            close_stream();
        }
        handleSet_.reset();
        return 0;
    };
    RunProtected(QXDB_SITE(L"qxio", L"CQXBASE::QXIO::~QXIO"), close,
                 [](const CaughtException& /*caught*/) { return -1; });
}

ACE_HANDLE QXIO::handle() const {
    return peer_ == nullptr ? ACE_INVALID_HANDLE : peer_->get_handle();
}

void QXIO::handle(ACE_HANDLE handle) {
    if (peer_ != nullptr) {
        peer_->set_handle(handle);
    }
}

void QXIO::set_last_error(int code, const std::wstring& text) {
    lastErrorCode_ = code;
    lastErrorText_ = text;
}

void QXIO::record_socket_error(const std::wstring& context, int& code, std::wstring& text) const {
    const int error = errno;
    if (tls_ != nullptr && tls_->GetFailure()) {
        const tls::Failure& failure = *tls_->GetFailure();
        code = failure.code;
        text = context + L", " + platform::text::CodedText(failure.text, code);
        return;
    }
    const int number = platform::sockets::WinsockNumber(error);
    code = error == 0 ? -1 : number;
    text = context + L", " + platform::text::CodedText(ErrorDescription(error, number), code);
}

std::wstring& QXIO::GetClientIp(std::wstring& out) {
    out = HostText(remoteAddr_);
    if (out.empty()) {
        QXDB_THROW(L"client can't is blank.", L"qxio", L"CQXBASE::QXIO::GetClientIp");
    }
    return out;
}

std::wstring HostText(const ACE_INET_Addr& address) noexcept {
    try {
        return ToWide(NarrowHostText(address), kCodePageAnsi);
    } catch (...) {
        return {};
    }
}

}  // namespace CQXBASE
