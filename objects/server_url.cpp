#include "objects/server_url.h"

#include <Poco/URI.h>

#include "util/text.h"

namespace CQXDB {
namespace {

using CQXBASE::Utf8ToWide;

/// Takes "user:password@" out of the authority. An escaped colon belongs to the name it stands in,
/// and the last "@" ends the password, so a password with one need not escape it.
void TakeLogin(std::string& url, QXDataSource& source) {
    const std::size_t start = url.find("://") + 3;
    const std::size_t end = url.find_first_of("/?#", start);
    const std::size_t at = url.substr(0, end).rfind('@');
    if (at == std::string::npos || at < start) {
        return;
    }
    const std::string login = url.substr(start, at - start);
    const std::size_t colon = login.find(':');
    source.user = Utf8ToWide(UrlUnescaped(login.substr(0, colon)));
    if (colon != std::string::npos) {
        source.password = Utf8ToWide(UrlUnescaped(login.substr(colon + 1)));
    }
    url.erase(start, at + 1 - start);
}

std::string Options(const Poco::URI& uri) {
    std::string options;
    for (const auto& [key, value] : uri.getQueryParameters()) {
        if (key.find_first_of(";=") != std::string::npos || value.find(';') != std::string::npos) {
            throw UrlRefused{L"An option of the URL holds a semicolon, which separates options."};
        }
        options.append(options.empty() ? "" : ";").append(key).append("=").append(value);
    }
    return options;
}

std::string HostOf(const Poco::URI& uri) {
    std::string host = uri.getHost();
    if (host.size() >= 2 && host.front() == '[' && host.back() == ']') {
        host = host.substr(1, host.size() - 2);
    }
    return host;
}

}  // namespace

std::string UrlUnescaped(const std::string& text) {
    std::string plain;
    Poco::URI::decode(text, plain);
    return plain;
}

QXDataSource FromServerUrl(std::string url, CQXDB_DSType_ENUM type) {
    QXDataSource source;
    source.type = type;
    TakeLogin(url, source);
    const Poco::URI uri(url);
    source.server = Utf8ToWide(HostOf(uri));
    source.port = uri.getSpecifiedPort();
    const std::string& path = uri.getPath();
    source.database = Utf8ToWide(path.empty() ? path : path.substr(1));
    source.options = Options(uri);
    return source;
}

}  // namespace CQXDB
