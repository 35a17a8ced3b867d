#include "server/requests/database_registry.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "server/database_names.h"
#include "server/server_error.h"
#include "util/text.h"

namespace CQXSERVER::requests {
namespace {

using CQXDB::QXDataSource;

constexpr char kUsualName[] = "main";

/// True when more than a database name is described; a name alone may be one of the server's.
bool DescribesConnection(const QXDataSource& wanted) noexcept {
    return wanted.type != CQXDB::CQXDB_DS_EMBEDDED ||
           wanted.driver != CQXDB::CQXDB_DRIVER_DEFAULT || !wanted.server.empty() ||
           !wanted.dsn.empty() || !wanted.connectionString.empty();
}

constexpr char kSqlite[] = "sqlite";
/// Other accounts use the connections too, and the account store is a SQLite file as well.
constexpr char kConfined[] = ";confined=on";
// What a client's own description can't ask for.
constexpr char kClientsPool[] = ";pool_size=8;pool_timeout=30;pool_idle=60";
constexpr char kClientsSqlite[] = ";busy_timeout=5000;fulltext=off;max_value_mib=65";
constexpr char kConnectTimeout[] = ";connect_timeout=15";  // connecting can't be cancelled

/// One of ClientDataSources::kinds.
std::string KindOf(const QXDataSource& dataSource) {
    switch (dataSource.driver) {
        case CQXDB::CQXDB_DRIVER_SQLITE:
            return kSqlite;
        case CQXDB::CQXDB_DRIVER_POSTGRESQL:
            return "postgresql";
        case CQXDB::CQXDB_DRIVER_MYSQL:
            return "mysql";
        case CQXDB::CQXDB_DRIVER_ODBC:
            return "odbc";
        case CQXDB::CQXDB_DRIVER_DEFAULT:
            break;
    }
    switch (dataSource.type) {
        case CQXDB::CQXDB_DS_EMBEDDED:
        case CQXDB::CQXDB_DS_SQLITE:
            return kSqlite;
        case CQXDB::CQXDB_DS_POSTGRESQL:
            return "postgresql";
        case CQXDB::CQXDB_DS_MYSQL:
        case CQXDB::CQXDB_DS_MARIADB:
            return "mysql";
        default:
            return "odbc";
    }
}

bool IsSqlite(const QXDataSource& dataSource) {
    return KindOf(dataSource) == kSqlite;
}

/// The file that `path`, absolute or counted from the folder, stands for. Throws RequestRefused
/// when that is outside of the folder, links followed, or not told by a plain path.
std::string PathInside(const std::string& folder, const std::string& path) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path root = fs::weakly_canonical(fs::u8path(folder) / "x", error).parent_path();
    const fs::path file = fs::weakly_canonical(root / fs::u8path(path), error);
    const auto [end, ignored] = std::mismatch(root.begin(), root.end(), file.begin(), file.end());
    if (error || path.rfind("file:", 0) == 0 || end != root.end() || file == root) {
        throw RequestRefused(ServerError::ForbiddenDatabase);
    }
    return file.u8string();
}

/// A database in memory, which lives as long as the process, since it goes with its connection.
bool MayBeInMemory(const QXDataSource& dataSource) {
    return dataSource.database == L":memory:" ||
           (dataSource.database.rfind(L"file:", 0) == 0 &&
            dataSource.database.find(L"memory") != std::wstring::npos);
}

/// A plain path; what a SQLite URI or a database in memory should be like is said by its name.
bool IsSqliteFile(const QXDataSource& dataSource) {
    return dataSource.database.rfind(L"file:", 0) != 0 && dataSource.database != L":memory:";
}

}  // namespace

void DatabaseRegistry::Add(const std::string& name, const std::string& url) {
    QXDataSource dataSource;
    std::wstring error;
    if (!QXDataSource::FromUrl(CQXBASE::Utf8ToWide(url), dataSource, error)) {
        // The URL itself may hold a password, so it is not repeated.
        throw OperatorError("database '" + name + "': " + CQXBASE::WideToUtf8(error));
    }
    // What comes later wins: the URL's own settings, but for those that keep a shared file safe.
    std::string options = Timeout() + ";" + dataSource.options;
    if (IsSqlite(dataSource)) {
        options += kConfined;
        if (IsSqliteFile(dataSource)) {
            // Readers don't wait for the writer; an acknowledged commit is on the disk.
            options += ";journal_mode=wal;synchronous=full";
        }
    }
    dataSource.options = options;
    Add(name, dataSource);
}

void DatabaseRegistry::Add(const std::string& name, const QXDataSource& dataSource) {
    if (!IsDatabaseName(name)) {
        throw OperatorError("'" + name +
                            "' can't be a database name: use 1 to 64 letters, digits, _, - and .");
    }
    if (Find(name) != nullptr) {
        throw OperatorError("database '" + name + "' is configured twice");
    }
    databases_.emplace_back(name, dataSource);
}

QXDataSource DatabaseRegistry::Resolve(const QXDataSource& wanted, const sessions::Account& account,
                                       const std::string& sessionDatabase) const {
    const std::string name = CQXBASE::WideToUtf8(wanted.database);
    const bool clientsOwn = clients_.allowed && (DescribesConnection(wanted) ||
                                                 (!name.empty() && Find(name) == nullptr));
    if (clientsOwn) {
        if (!account.MayUseAll()) {
            throw RequestRefused(ServerError::ForbiddenDatabase);
        }
        return Confine(wanted);
    }
    if (!name.empty()) {
        return Require(name, account);
    }
    return Require(sessionDatabase.empty() ? DefaultName(account) : sessionDatabase, account);
}

std::string DatabaseRegistry::DefaultName(const sessions::Account& account) const {
    if (Find(kUsualName) != nullptr && account.MayUse(kUsualName)) {
        return kUsualName;
    }
    const auto first =
        std::find_if(databases_.begin(), databases_.end(),
                     [&account](const auto& each) { return account.MayUse(each.first); });
    if (first == databases_.end()) {
        throw RequestRefused(ServerError::ForbiddenDatabase);
    }
    return first->first;
}

const QXDataSource& DatabaseRegistry::Require(const std::string& name,
                                              const sessions::Account& account) const {
    const QXDataSource* const found = Find(name);
    if (found == nullptr) {
        throw RequestRefused(ServerError::UnknownDatabase);
    }
    if (!account.MayUse(name)) {
        throw RequestRefused(ServerError::ForbiddenDatabase);
    }
    return *found;
}

QXDataSource DatabaseRegistry::Confine(const QXDataSource& wanted) const {
    const std::string kind = KindOf(wanted);
    if (std::find(clients_.kinds.begin(), clients_.kinds.end(), kind) == clients_.kinds.end()) {
        throw RequestRefused(ServerError::ForbiddenDatabase);
    }
    QXDataSource confined = wanted;
    std::string options = wanted.options + ";" + Timeout() + kClientsPool;
    if (kind == kSqlite) {
        options.append(kConfined).append(kClientsSqlite);
        if (MayBeInMemory(wanted)) {
            throw RequestRefused(ServerError::ForbiddenDatabase);
        }
        if (!clients_.folder.empty()) {
            confined.database = CQXBASE::Utf8ToWide(
                PathInside(clients_.folder, CQXBASE::WideToUtf8(wanted.database)));
        }
    } else {
        options += kConnectTimeout;
    }
    confined.options = options;
    return confined;
}

std::string DatabaseRegistry::Timeout() const {
    return "statement_timeout=" + std::to_string(statementTimeout_.count());
}

const QXDataSource* DatabaseRegistry::Find(const std::string& name) const noexcept {
    const auto found = std::find_if(databases_.begin(), databases_.end(),
                                    [&name](const auto& each) { return each.first == name; });
    return found == databases_.end() ? nullptr : &found->second;
}

}  // namespace CQXSERVER::requests
