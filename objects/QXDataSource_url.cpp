// Database URLs.
#include <cctype>
#include <utility>

#include <Poco/Exception.h>
#include <Poco/URI.h>

#include <qxdb/QXDataSource.h>

#include "util/text.h"

namespace CQXDB {
namespace {

using CQXBASE::Utf8ToWide;

struct Scheme {
    const char* name;
    CQXDB_DSType_ENUM type;
};

constexpr Scheme kServerSchemes[] = {
    {"postgresql", CQXDB_DS_POSTGRESQL}, {"postgres", CQXDB_DS_POSTGRESQL},
    {"mysql", CQXDB_DS_MYSQL},           {"mariadb", CQXDB_DS_MARIADB},
    {"sqlserver", CQXDB_DS_SQLSERVER},   {"oracle", CQXDB_DS_ORACLE},
};

/// A reason for people why a URL can't be used.
struct Refused {
    std::wstring reason;
};

std::string Lower(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

std::string Unescaped(const std::string& text) {
    std::string plain;
    Poco::URI::decode(text, plain);
    return plain;
}

/// "sqlite:PATH" takes the path as it stands, "sqlite:///PATH" is a URL of an absolute path.
QXDataSource FromSqlite(const std::string& rest) {
    std::string path = rest;
    if (rest.compare(0, 2, "//") == 0) {
        if (rest.compare(0, 3, "///") != 0) {
            throw Refused{L"A SQLite URL names no host: write sqlite:PATH or sqlite:///PATH."};
        }
        path = Unescaped(rest.substr(2));
    }
    if (path.empty()) {
        throw Refused{L"The URL names no file: write sqlite:PATH or sqlite::memory:."};
    }
    QXDataSource source;
    source.database = Utf8ToWide(path);
    return source;
}

/// "odbc:DSN" or "odbc:key=value;...", both as they stand.
QXDataSource FromOdbc(const std::string& rest) {
    if (rest.empty()) {
        throw Refused{L"The URL names nothing: write odbc:DSN or odbc:key=value;..."};
    }
    QXDataSource source;
    source.type = CQXDB_DS_ODBC;
    const bool wholeString = rest.find('=') != std::string::npos;
    (wholeString ? source.connectionString : source.dsn) = Utf8ToWide(rest);
    return source;
}

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
    source.user = Utf8ToWide(Unescaped(login.substr(0, colon)));
    if (colon != std::string::npos) {
        source.password = Utf8ToWide(Unescaped(login.substr(colon + 1)));
    }
    url.erase(start, at + 1 - start);
}

std::string Options(const Poco::URI& uri) {
    std::string options;
    for (const auto& [key, value] : uri.getQueryParameters()) {
        if (key.find_first_of(";=") != std::string::npos || value.find(';') != std::string::npos) {
            throw Refused{L"An option of the URL holds a semicolon, which separates options."};
        }
        options += (options.empty() ? "" : ";") + key + "=" + value;
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

QXDataSource FromServer(std::string url, CQXDB_DSType_ENUM type) {
    QXDataSource source;
    source.type = type;
    TakeLogin(url, source);
    const Poco::URI uri(url);
    source.server = Utf8ToWide(HostOf(uri));
    source.port = uri.getSpecifiedPort();
    const std::string path = uri.getPath();
    source.database = Utf8ToWide(path.empty() ? path : path.substr(1));
    source.options = Options(uri);
    return source;
}

QXDataSource Parse(const std::string& url) {
    const std::size_t colon = url.find(':');
    if (colon == std::string::npos) {
        throw Refused{L"A database URL starts with its kind, as in sqlite:PATH."};
    }
    const std::string scheme = Lower(url.substr(0, colon));
    if (scheme == "sqlite") {
        return FromSqlite(url.substr(colon + 1));
    }
    if (scheme == "odbc") {
        return FromOdbc(url.substr(colon + 1));
    }
    for (const Scheme& known : kServerSchemes) {
        if (scheme != known.name) {
            continue;
        }
        if (url.compare(colon, 3, "://") != 0) {
            throw Refused{L"Write " + Utf8ToWide(scheme) + L"://user:password@host:port/database."};
        }
        return FromServer(url, known.type);
    }
    throw Refused{L"'" + Utf8ToWide(scheme) +
                  L"' is no known kind of database: use sqlite, postgresql, mysql, mariadb, "
                  L"sqlserver, oracle or odbc."};
}

}  // namespace

bool QXDataSource::FromUrl(const std::wstring& url, QXDataSource& out, std::wstring& error) {
    try {
        out = Parse(CQXBASE::WideToUtf8(url));
        return true;
    } catch (const Refused& refused) {
        error = refused.reason;
    } catch (const Poco::Exception& exception) {
        error = L"The database URL can't be read: " + Utf8ToWide(exception.displayText()) + L".";
    }
    return false;
}

}  // namespace CQXDB
