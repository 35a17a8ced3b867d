#include <array>
#include <string>
#include <string_view>

#include "errors/format_bounded.h"
#include "proxy/base64.h"
#include "proxy/proxy_handshake.h"
#include "proxy/socket_io.h"
#include "util/text.h"

namespace CQXBASE {
namespace {

using Buffer = std::array<char, 512>;

std::string BasicCredentials(const ProxyParam& proxy) {
    const std::string joined = proxy.user + ":" + proxy.password;
    return Base64Encode(reinterpret_cast<const unsigned char*>(joined.data()),
                        static_cast<int>(joined.size()));
}

/// The two requests name different client versions; proxies' access rules may tell them apart.
void WriteRequest(Buffer& buffer, const ProxyParam& proxy, const std::string& host, int port) {
    if (proxy.user.empty()) {
        FormatBounded(buffer.data(), buffer.size(),
                      "CONNECT %s:%d HTTP/1.1\r\nUser-Agent: QXClient/0.1\r\n\r\n", host.c_str(),
                      port);
    } else {
        FormatBounded(buffer.data(), buffer.size(),
                      "CONNECT %s:%d HTTP/1.1\r\nProxy-Connection: Keep-Alive\r\nHost: %s:%d\r\n"
                      "Proxy-Authorization: Basic %s\r\nUser-Agent: QXClient/19.1\r\n\r\n",
                      host.c_str(), port, host.c_str(), port, BasicCredentials(proxy).c_str());
    }
}

/// The buffer's text, which an answer that fills the buffer leaves without a terminator.
std::string_view TextOf(const Buffer& buffer) {
    const std::string_view whole(buffer.data(), buffer.size());
    return whole.substr(0, whole.find('\0'));
}

bool Contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

}  // namespace

int HttpConnectHandshake(const ProxyParam& proxy, ACE_HANDLE socket, const std::string& targetHost,
                         std::uint16_t targetPort, std::wstring& errText) {
    errText.clear();
    Buffer buffer{};
    WriteRequest(buffer, proxy, targetHost, targetPort);
    SendAll(socket, buffer.data(), static_cast<int>(TextOf(buffer).size()));
    // The answer overwrites the request from its start; a silent proxy leaves the request to be
    // reported.
    RecvOnce(socket, buffer.data(), static_cast<int>(buffer.size()));
    const std::string_view text = TextOf(buffer);
    if (Contains(text, "HTTP/1.0 200 Connection established") ||
        Contains(text, "HTTP/1.1 200 Connection established")) {
        return kProxyDone;
    }
    errText = ToWide(std::string(text), kCodePageAnsi);
    return kProxyFailed;
}

}  // namespace CQXBASE
