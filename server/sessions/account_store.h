// The accounts of a server: a SQLite file that the running server and the operator's commands
// share.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <Poco/Data/Session.h>

namespace CQXSERVER::sessions {

struct Account {
    std::string name;
    std::string passwordHash;
    std::vector<std::string> databases;  ///< the databases it may use; empty means all
    std::int64_t revision = 0;  ///< differs after every change of the password, and after a
                                ///< removal and a new start under the same name

    bool MayUseAll() const noexcept { return databases.empty(); }
    bool MayUse(const std::string& database) const;
};

/// Thread-safe. Each call sees what other processes have changed. Each throws OperatorError when
/// the file can't be read or written.
class AccountStore {
  public:
    /// Opens the file and makes it, readable by its owner only, when there is none.
    explicit AccountStore(const std::string& path);
    ~AccountStore();
    AccountStore(const AccountStore&) = delete;
    AccountStore& operator=(const AccountStore&) = delete;

    /// Throws OperatorError for a name that is taken or can't be a name, or a bad database name.
    void Add(const std::string& name, const std::string& passwordHash,
             const std::vector<std::string>& databases);
    void Remove(const std::string& name);  ///< as the two below, throws for an unknown name
    void SetPassword(const std::string& name, const std::string& passwordHash);
    void SetDatabases(const std::string& name, const std::vector<std::string>& databases);

    std::optional<Account> Find(const std::string& name);
    std::vector<Account> List();  ///< by name

  private:
    class Query;

    std::mutex mutex_;
    Poco::Data::Session session_;          ///< guarded by mutex_, and so is the next
    std::unique_ptr<Query> findPrepared_;  ///< null before the first use and after a failure
};

}  // namespace CQXSERVER::sessions
