#include "proxy/proxy_handshake.h"

#include <ace/Flag_Manip.h>

#include "platform/sockets/handshake.h"
#include "proxy/socket_io.h"

namespace CQXBASE {

int ProxyHandshake(const ProxyParam& proxy, ACE_HANDLE socket, const std::string& targetHost,
                   std::uint16_t targetPort, std::wstring& errText) {
    platform::sockets::SetReceiveTimeout(socket, kReceiveTimeoutMs);
    ACE::clr_flags(socket, ACE_NONBLOCK);
    switch (proxy.type) {
        case kProxyHttp:
            return HttpConnectHandshake(proxy, socket, targetHost, targetPort, errText);
        case kProxySocks4:
            return Socks4Handshake(proxy, socket, targetHost, targetPort);
        case kProxySocks5:
            return Socks5Handshake(proxy, socket, targetHost, targetPort);
        default:
            return kProxyFailed;
    }
}

}  // namespace CQXBASE
