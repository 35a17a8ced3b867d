// Database URLs.
#include <Poco/Exception.h>
#include <Poco/String.h>

#include <qxdb/QXDataSource.h>

#include "objects/server_url.h"
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

/// "sqlite:PATH" takes the path as it stands, "sqlite:///PATH" is a URL of an absolute path.
QXDataSource FromSqlite(const std::string& rest) {
    std::string path = rest;
    if (rest.compare(0, 2, "//") == 0) {
        if (rest.compare(0, 3, "///") != 0) {
            throw UrlRefused{L"A SQLite URL names no host: write sqlite:PATH or sqlite:///PATH."};
        }
        path = UrlUnescaped(rest.substr(2));
    }
    if (path.empty()) {
        throw UrlRefused{L"The URL names no file: write sqlite:PATH or sqlite::memory:."};
    }
    QXDataSource source;
    source.database = Utf8ToWide(path);
    return source;
}

/// "odbc:DSN" or "odbc:key=value;...", both as they stand.
QXDataSource FromOdbc(const std::string& rest) {
    if (rest.empty()) {
        throw UrlRefused{L"The URL names nothing: write odbc:DSN or odbc:key=value;..."};
    }
    QXDataSource source;
    source.type = CQXDB_DS_ODBC;
    const bool wholeString = rest.find('=') != std::string::npos;
    (wholeString ? source.connectionString : source.dsn) = Utf8ToWide(rest);
    return source;
}

QXDataSource Parse(const std::string& url) {
    const std::size_t colon = url.find(':');
    if (colon == std::string::npos) {
        throw UrlRefused{L"A database URL starts with its kind, as in sqlite:PATH."};
    }
    const std::string scheme = Poco::toLower(url.substr(0, colon));
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
            throw UrlRefused{L"Write " + Utf8ToWide(scheme) +
                             L"://user:password@host:port/database."};
        }
        return FromServerUrl(url, known.type);
    }
    throw UrlRefused{L"'" + Utf8ToWide(scheme) +
                     L"' is no known kind of database: use sqlite, postgresql, mysql, mariadb, "
                     L"sqlserver, oracle or odbc."};
}

}  // namespace

bool QXDataSource::FromUrl(const std::wstring& url, QXDataSource& out, std::wstring& error) {
    try {
        out = Parse(CQXBASE::WideToUtf8(url));
        return true;
    } catch (const UrlRefused& refused) {
        error = refused.reason;
    } catch (const Poco::Exception&) {
        // Its words would repeat a piece of the URL, which may be one of the password.
        error =
            L"The database URL can't be read: write reserved characters in a user, password or "
            L"option as %XX.";
    }
    return false;
}

}  // namespace CQXDB
