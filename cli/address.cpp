#include "cli/address.h"

#include <map>
#include <string_view>
#include <vector>

#include <Poco/Exception.h>
#include <Poco/NumberParser.h>
#include <Poco/URI.h>

#include "cli/exit_status.h"
#include "util/text.h"

namespace CQXCLI {

using CQXDB::QXProxyInfo;

namespace {

constexpr std::int32_t kServerPort = 7777;
constexpr std::int32_t kSocksPort = 1080;

std::wstring Decoded(const std::string& text) {
    std::string plain;
    Poco::URI::decode(text, plain);
    return CQXBASE::Utf8ToWide(plain);
}

std::int32_t KindOf(const std::string& scheme) {
    static const std::map<std::string, std::int32_t> kinds = {
        {"http", CQXDB::QXPROXY_HTTP},
        {"socks4", CQXDB::QXPROXY_SOCKS4},
        {"socks5", CQXDB::QXPROXY_SOCKS5},
    };
    const auto found = kinds.find(scheme);
    return found == kinds.end() ? static_cast<std::int32_t>(CQXDB::QXPROXY_NONE) : found->second;
}

[[noreturn]] void RefuseProxy(const std::string& why) {
    throw CliError(kWrongUsage, "--proxy: " + why +
                                    "; it is written http://host:port, socks4://host:port or "
                                    "socks5://host:port, with user:password@ before the host");
}

[[noreturn]] void RefuseServerUrl(const std::string& why) {
    throw CliError(kWrongUsage, why +
                                    "; a server's URL is written "
                                    "qxdb://[USER@]HOST[:PORT][/DATABASE], with TLS qxdbs://...");
}

using Refuse = void (*)(const std::string& why);

Poco::URI ParseUri(const std::string& text, Refuse refuse) {
    try {
        return Poco::URI(text);
    } catch (const Poco::Exception&) {
        refuse("this is no address");
        throw;
    }
}

/// "user:password", escaped.
struct Credentials {
    explicit Credentials(const std::string& text)
        : user(Decoded(text.substr(0, text.find(':')))),
          password(text.find(':') == std::string::npos ? L""
                                                       : Decoded(text.substr(text.find(':') + 1))) {
    }

    std::wstring user;
    std::wstring password;
};

constexpr std::string_view kPlainScheme = "qxdb://";
constexpr std::string_view kTlsScheme = "qxdbs://";

}  // namespace

ServerAddress ParseServer(const std::string& text) {
    const bool bracketed = !text.empty() && text[0] == '[';
    const std::size_t hostEnd = bracketed ? text.find(']') : text.rfind(':');
    const std::size_t colon = bracketed && hostEnd != std::string::npos ? hostEnd + 1 : hostEnd;
    std::string host = text.substr(0, hostEnd).substr(bracketed ? 1 : 0);
    int port = kServerPort;
    const bool portGiven = colon < text.size();
    const bool wrongPort = portGiven && (text[colon] != ':' || !Poco::NumberParser::tryParse(
                                                                   text.substr(colon + 1), port));
    const bool ambiguous =
        bracketed ? hostEnd == std::string::npos : host.find(':') != std::string::npos;
    if (host.empty() || wrongPort || ambiguous || port < 1 || port > 65535) {
        throw CliError(kWrongUsage, "--server " + text + ": a server is written HOST:PORT or " +
                                        "[IPV6]:PORT, with a port from 1 to 65535");
    }
    return {std::move(host), port};
}

bool IsServerUrl(const std::string& text) {
    return text.rfind(kPlainScheme, 0) == 0 || text.rfind(kTlsScheme, 0) == 0;
}

ServerUrl ParseServerUrl(const std::string& text) {
    const Poco::URI uri = ParseUri(text, RefuseServerUrl);
    const Credentials credentials(uri.getUserInfo());
    std::vector<std::string> path;
    uri.getPathSegments(path);
    if (uri.getHost().empty()) {
        RefuseServerUrl("its host is missing");
    }
    if (path.size() > 1 || !uri.getRawQuery().empty() || !uri.getFragment().empty()) {
        RefuseServerUrl("something stands behind its database");
    }
    ServerUrl url;
    url.tls = text.rfind(kTlsScheme, 0) == 0;
    url.host = uri.getHost();
    url.port = uri.getSpecifiedPort();
    url.user = CQXBASE::WideToUtf8(credentials.user);
    url.password = CQXBASE::WideToUtf8(credentials.password);
    url.database = path.empty() ? "" : path[0];
    return url;
}

QXProxyInfo ParseProxy(const std::string& text) {
    QXProxyInfo proxy;
    if (text.empty()) {
        return proxy;
    }
    const Poco::URI uri = ParseUri(text, RefuseProxy);
    proxy.kind = KindOf(uri.getScheme());
    if (proxy.kind == CQXDB::QXPROXY_NONE) {
        RefuseProxy("its kind is not known");
    }
    const Credentials credentials(uri.getUserInfo());
    proxy.host = CQXBASE::Utf8ToWide(uri.getHost());
    proxy.port = uri.getSpecifiedPort();
    proxy.user = credentials.user;
    proxy.password = credentials.password;
    if (proxy.port == 0 && proxy.kind != CQXDB::QXPROXY_HTTP) {
        proxy.port = kSocksPort;
    }
    if (proxy.host.empty() || proxy.port == 0) {
        RefuseProxy("its host or port is missing");
    }
    return proxy;
}

}  // namespace CQXCLI
