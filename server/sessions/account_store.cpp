#include "server/sessions/account_store.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include <Poco/Data/RecordSet.h>
#include <Poco/Data/SQLite/Connector.h>
#include <openssl/rand.h>

#include "server/database_names.h"
#include "server/server_error.h"

namespace CQXSERVER::sessions {
namespace {

using Poco::Data::Statement;
using namespace Poco::Data::Keywords;

constexpr std::size_t kMaxNameBytes = 128;

Poco::Data::Session Open(const std::string& path) {
    try {
        Poco::Data::SQLite::Connector::registerConnector();
        // The last argument is how many seconds a file that does not open is tried again.
        Poco::Data::Session session(Poco::Data::SQLite::Connector::KEY, path, 0);
        // The commands of an operator write while the server reads: a log lets both go on.
        session << "PRAGMA busy_timeout=5000", now;
        session << "PRAGMA journal_mode=WAL", now;
        session << "PRAGMA synchronous=FULL", now;
        session << "CREATE TABLE IF NOT EXISTS account ("
                   " name TEXT PRIMARY KEY NOT NULL, password TEXT NOT NULL,"
                   " databases TEXT NOT NULL, revision INTEGER NOT NULL)",
            now;
        namespace fs = std::filesystem;
        fs::permissions(fs::u8path(path), fs::perms::owner_read | fs::perms::owner_write);
        return session;
    } catch (const std::exception& e) {
        throw OperatorError("account store " + path + ": " + e.what());
    }
}

/// Runs `work` and turns the database's exceptions into the operator's.
template <class Work>
auto Guarded(std::mutex& mutex, Work work) {
    const std::lock_guard<std::mutex> lock(mutex);
    try {
        return work();
    } catch (const Poco::Exception& e) {
        throw OperatorError("account store: " + e.displayText());
    }
}

std::int64_t NewRevision() {
    std::int64_t revision = 0;
    if (RAND_bytes(reinterpret_cast<unsigned char*>(&revision), sizeof revision) != 1) {
        throw OperatorError("no random numbers");
    }
    return revision;
}

bool IsControl(char c) noexcept {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

void CheckAccountName(const std::string& name) {
    if (name.empty() || name.size() > kMaxNameBytes || name.find("|~|") != std::string::npos ||
        std::any_of(name.begin(), name.end(), IsControl)) {
        throw OperatorError("an account name has 1 to 128 bytes, no control characters and no |~|");
    }
}

void CheckDatabaseNames(const std::vector<std::string>& databases) {
    for (const std::string& each : databases) {
        if (!IsDatabaseName(each)) {
            throw OperatorError("'" + each + "' can't be a database name");
        }
    }
}

/// Runs a statement that changes the one row of `name`.
template <class Work>
void ChangeOne(std::mutex& mutex, const std::string& name, Work work) {
    if (Guarded(mutex, work) != 1) {
        throw OperatorError("there is no account '" + name + "'");
    }
}

}  // namespace

bool Account::MayUse(const std::string& database) const {
    return MayUseAll() ||
           std::find(databases.begin(), databases.end(), database) != databases.end();
}

/// A prepared select. Every request looks its account up, and preparing would take most of the
/// time.
class AccountStore::Query {
  public:
    Query(Poco::Data::Session& session, const std::string& condition, bool byName)
        : select_(session) {
        select_ << "SELECT name, password, databases, revision FROM account " + condition,
            into(row_.name), into(row_.passwordHash), into(databases_), into(row_.revision),
            range(0, 1);
        if (byName) {
            select_, use(name_);
        }
    }
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    std::vector<Account> Run(const std::string& name = {}) {
        name_ = name;
        std::vector<Account> accounts;
        do {
            if (select_.execute() > 0) {
                row_.databases = SplitDatabases(databases_);
                accounts.push_back(row_);
            }
        } while (!select_.done());
        return accounts;
    }

  private:
    std::string name_;
    Account row_;
    std::string databases_;
    Statement select_;  ///< reads and writes the members above
};

AccountStore::AccountStore(const std::string& path) : session_(Open(path)) {}

AccountStore::~AccountStore() = default;

void AccountStore::Add(const std::string& name, const std::string& passwordHash,
                       const std::vector<std::string>& databases) {
    CheckAccountName(name);
    CheckDatabaseNames(databases);
    std::string names = JoinDatabases(databases);
    std::int64_t revision = NewRevision();
    const std::size_t added = Guarded(mutex_, [&] {
        Statement insert(session_);
        insert << "INSERT OR IGNORE INTO account VALUES (?, ?, ?, ?)", useRef(name),
            useRef(passwordHash), use(names), use(revision);
        return insert.execute();
    });
    if (added != 1) {
        throw OperatorError("there is an account '" + name + "' already");
    }
}

void AccountStore::Remove(const std::string& name) {
    ChangeOne(mutex_, name, [&] {
        Statement remove(session_);
        remove << "DELETE FROM account WHERE name = ?", useRef(name);
        return remove.execute();
    });
}

void AccountStore::SetPassword(const std::string& name, const std::string& passwordHash) {
    std::int64_t revision = NewRevision();
    ChangeOne(mutex_, name, [&] {
        Statement update(session_);
        update << "UPDATE account SET password = ?, revision = ? WHERE name = ?",
            useRef(passwordHash), use(revision), useRef(name);
        return update.execute();
    });
}

void AccountStore::SetDatabases(const std::string& name,
                                const std::vector<std::string>& databases) {
    CheckDatabaseNames(databases);
    std::string names = JoinDatabases(databases);
    ChangeOne(mutex_, name, [&] {
        Statement update(session_);
        update << "UPDATE account SET databases = ? WHERE name = ?", use(names), useRef(name);
        return update.execute();
    });
}

std::optional<Account> AccountStore::Find(const std::string& name) {
    if (name.empty()) {
        return std::nullopt;
    }
    std::vector<Account> found = Guarded(mutex_, [&] {
        std::unique_ptr<Query> query = std::move(findPrepared_);
        if (query == nullptr) {
            query = std::make_unique<Query>(session_, "WHERE name = ?", true);
        }
        std::vector<Account> accounts = query->Run(name);
        findPrepared_ = std::move(query);
        return accounts;
    });
    return found.empty() ? std::nullopt : std::optional<Account>(std::move(found.front()));
}

std::vector<Account> AccountStore::List() {
    return Guarded(mutex_, [&] { return Query(session_, "ORDER BY name", false).Run(); });
}

}  // namespace CQXSERVER::sessions
