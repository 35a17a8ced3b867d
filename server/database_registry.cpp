#include "server/database_registry.h"

#include <algorithm>

#include "server/database_names.h"
#include "server/server_error.h"
#include "util/text.h"

namespace CQXSERVER {
namespace {

using CQXDB::QXDataSource;

constexpr char kUsualName[] = "main";

/// True when more than a database name is described; a name alone may be one of the server's.
bool DescribesConnection(const QXDataSource& wanted) noexcept {
    return wanted.type != CQXDB::CQXDB_DS_EMBEDDED ||
           wanted.driver != CQXDB::CQXDB_DRIVER_DEFAULT || !wanted.server.empty() ||
           !wanted.dsn.empty() || !wanted.connectionString.empty();
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
    if (dataSource.type == CQXDB::CQXDB_DS_EMBEDDED) {
        dataSource.options = SqliteOptions(dataSource);
    }
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

QXDataSource DatabaseRegistry::Resolve(const QXDataSource& wanted, const Account& account,
                                       const std::string& sessionDatabase) const {
    const std::string name = CQXBASE::WideToUtf8(wanted.database);
    const bool clientsOwn =
        allowClient_ && (DescribesConnection(wanted) || (!name.empty() && Find(name) == nullptr));
    if (clientsOwn) {
        if (!account.MayUseAll()) {
            throw RequestRefused(ServerError::ForbiddenDatabase);
        }
        return wanted;
    }
    if (!name.empty()) {
        return Require(name, account);
    }
    return Require(sessionDatabase.empty() ? DefaultName(account) : sessionDatabase, account);
}

std::string DatabaseRegistry::DefaultName(const Account& account) const {
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
                                              const Account& account) const {
    const QXDataSource* const found = Find(name);
    if (found == nullptr) {
        throw RequestRefused(ServerError::UnknownDatabase);
    }
    if (!account.MayUse(name)) {
        throw RequestRefused(ServerError::ForbiddenDatabase);
    }
    return *found;
}

std::string DatabaseRegistry::SqliteOptions(const QXDataSource& dataSource) const {
    // All accounts share the connections, and the account store is a SQLite file too.
    std::string options = "confined=on;statement_timeout=" + std::to_string(sqliteTimeout_.count());
    if (IsSqliteFile(dataSource)) {
        // Readers don't wait for the writer, and a commit is on the disk when it is acknowledged.
        options += ";journal_mode=wal;synchronous=full";
    }
    return options;
}

const QXDataSource* DatabaseRegistry::Find(const std::string& name) const noexcept {
    const auto found = std::find_if(databases_.begin(), databases_.end(),
                                    [&name](const auto& each) { return each.first == name; });
    return found == databases_.end() ? nullptr : &found->second;
}

}  // namespace CQXSERVER
