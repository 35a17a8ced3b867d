#include "server/sessions/account_store.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include <Poco/Data/RecordSet.h>
#include <Poco/Data/SQLite/Connector.h>
#include <Poco/Data/SQLite/Utility.h>
#include <Poco/URI.h>
#include <openssl/rand.h>
#include <sqlite3.h>

#include "platform/files/access.h"
#include "server/database_names.h"
#include "server/log.h"
#include "server/server_error.h"

namespace CQXSERVER::sessions {
namespace {

using Poco::Data::Statement;
using namespace Poco::Data::Keywords;

constexpr std::size_t kMaxNameBytes = 128;

/// Names a file that must be there, so that opening it never makes one.
std::string UriOf(const std::filesystem::path& path) {
    std::string escaped;
    Poco::URI::encode(std::filesystem::absolute(path).generic_u8string(), "?#", escaped);
    return (escaped.rfind('/', 0) == 0 ? "file://" : "file:///") + escaped + "?mode=rw";
}

Poco::Data::Session Connect(const std::filesystem::path& path) {
    Poco::Data::SQLite::Connector::registerConnector();
    // The last argument is how many seconds a file that does not open is tried again.
    Poco::Data::Session session(Poco::Data::SQLite::Connector::KEY, UriOf(path), 0);
    session << "PRAGMA busy_timeout=5000", now;
    // No write-ahead log: one that is left over from a file that was replaced would be taken for a
    // part of the new one. Who reads waits for a writer then, for as long as the disk takes.
    session << "PRAGMA journal_mode=DELETE", now;
    session << "PRAGMA synchronous=EXTRA", now;
    return session;
}

void MakeTable(Poco::Data::Session& session) {
    session << "CREATE TABLE IF NOT EXISTS account ("
               " name TEXT PRIMARY KEY NOT NULL, password TEXT NOT NULL,"
               " databases TEXT NOT NULL, revision INTEGER NOT NULL)",
        now;
}

/// True when the file that is open is not the one under its name any more.
bool HasMoved(const Poco::Data::Session& session) {
    int moved = 0;
    sqlite3_file_control(Poco::Data::SQLite::Utility::dbHandle(session), nullptr,
                         SQLITE_FCNTL_HAS_MOVED, &moved);
    return moved != 0;
}

std::int64_t NewRevision() {
    std::int64_t revision = 0;
    if (RAND_bytes(reinterpret_cast<unsigned char*>(&revision), sizeof revision) != 1) {
        throw OperatorError("no random numbers");
    }
    return revision;
}

void CheckAccountName(const std::string& name) {
    if (name.empty() || name.size() > kMaxNameBytes || name.find("|~|") != std::string::npos ||
        CQXBASE::PrintableUtf8(name) != name) {
        throw OperatorError(
            "an account name has 1 to 128 bytes of UTF-8, no control characters and no |~|");
    }
}

void CheckDatabases(const AllowedDatabases& databases) {
    if (!databases.AreAll() && databases.Names().empty()) {
        throw OperatorError("no databases given: name one at least, or * for all");
    }
    for (const std::string& each : databases.Names()) {
        if (!IsDatabaseName(each)) {
            throw OperatorError("'" + each + "' can't be a database name");
        }
    }
}

}  // namespace

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
                row_.databases = AllowedDatabases::Parse(databases_);
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

/// The open file, if that is still the one under its name, or else the one that is there now.
Poco::Data::Session& AccountStore::Opened() {
    if (session_ && HasMoved(*session_)) {
        Close();
    }
    if (!session_) {
        const std::filesystem::path file = std::filesystem::u8path(path_);
        const std::error_code error = CQXBASE::platform::files::WhyNotOpen(file);
        if (error) {
            throw OperatorError("can't open the account store " + path_ + ": " + error.message());
        }
        session_ = Connect(file);
    }
    return *session_;
}

void AccountStore::Close() noexcept {
    findPrepared_.reset();
    session_.reset();
}

/// Runs `work` and turns the database's exceptions into the operator's.
template <class Work>
auto AccountStore::Guarded(Work work) {
    const std::lock_guard<std::mutex> lock(mutex_);
    try {
        return work();
    } catch (const Poco::Exception& e) {
        // What it has read so far may be half of a file that is being replaced.
        Close();
        throw OperatorError("account store " + path_ + ": " + e.displayText());
    } catch (...) {
        Close();
        throw;
    }
}

/// Runs a statement that changes the one row of `name`.
template <class Work>
void AccountStore::ChangeOne(const std::string& name, Work work) {
    if (Guarded(work) != 1) {
        throw OperatorError("there is no account '" + name + "'");
    }
}

AccountStore::AccountStore(std::string path, IfMissing ifMissing) : path_(std::move(path)) {
    const std::filesystem::path file = std::filesystem::u8path(path_);
    if (ifMissing == IfMissing::Make && !std::filesystem::exists(file)) {
        const std::error_code error = CQXBASE::platform::files::MakePrivate(file);
        if (error && error != std::errc::file_exists) {
            throw OperatorError("can't make the account store " + path_ + ": " + error.message());
        }
    }
    Guarded([this] {
        MakeTable(Opened());
        return 0;
    });
}

AccountStore::~AccountStore() = default;

void AccountStore::Add(const std::string& name, const std::string& passwordHash,
                       const AllowedDatabases& databases) {
    CheckAccountName(name);
    CheckDatabases(databases);
    std::string names = databases.Text();
    std::int64_t revision = NewRevision();
    const std::size_t added = Guarded([&] {
        Statement insert(Opened());
        insert << "INSERT OR IGNORE INTO account VALUES (?, ?, ?, ?)", useRef(name),
            useRef(passwordHash), use(names), use(revision);
        return insert.execute();
    });
    if (added != 1) {
        throw OperatorError("there is an account '" + name + "' already");
    }
}

void AccountStore::Remove(const std::string& name) {
    ChangeOne(name, [&] {
        Statement remove(Opened());
        remove << "DELETE FROM account WHERE name = ?", useRef(name);
        return remove.execute();
    });
}

void AccountStore::SetPassword(const std::string& name, const std::string& passwordHash) {
    std::int64_t revision = NewRevision();
    ChangeOne(name, [&] {
        Statement update(Opened());
        update << "UPDATE account SET password = ?, revision = ? WHERE name = ?",
            useRef(passwordHash), use(revision), useRef(name);
        return update.execute();
    });
}

void AccountStore::SetDatabases(const std::string& name, const AllowedDatabases& databases) {
    CheckDatabases(databases);
    std::string names = databases.Text();
    ChangeOne(name, [&] {
        Statement update(Opened());
        update << "UPDATE account SET databases = ? WHERE name = ?", use(names), useRef(name);
        return update.execute();
    });
}

std::optional<Account> AccountStore::Find(const std::string& name) {
    if (name.empty()) {
        return std::nullopt;
    }
    std::vector<Account> found = Guarded([&] {
        Poco::Data::Session& session = Opened();
        if (findPrepared_ == nullptr) {
            findPrepared_ = std::make_unique<Query>(session, "WHERE name = ?", true);
        }
        return findPrepared_->Run(name);
    });
    return found.empty() ? std::nullopt : std::optional<Account>(std::move(found.front()));
}

std::vector<Account> AccountStore::List() {
    return Guarded([&] { return Query(Opened(), "ORDER BY name", false).Run(); });
}

}  // namespace CQXSERVER::sessions
