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

#include "server/database_names.h"

namespace CQXSERVER::sessions {

struct Account {
    std::string name;
    std::string passwordHash;
    AllowedDatabases databases;
    std::int64_t revision = 0;  ///< differs after every change of the password, and after a
                                ///< removal and a new start under the same name

    bool MayUseAll() const noexcept { return databases.AreAll(); }
    bool MayUse(const std::string& database) const { return databases.Have(database); }
};

enum class IfMissing { Make, Refuse };

/// Thread-safe. Each call sees what other processes have changed, also when they have put another
/// file in the place of this one. Each throws OperatorError when the file can't be read or written,
/// and works again when it can be.
class AccountStore {
  public:
    /// Opens the file, or makes it, readable by its owner only.
    explicit AccountStore(std::string path, IfMissing ifMissing = IfMissing::Make);
    ~AccountStore();
    AccountStore(const AccountStore&) = delete;
    AccountStore& operator=(const AccountStore&) = delete;

    /// Throws OperatorError for a name that is taken or can't be a name, a bad database name, or
    /// no databases at all.
    void Add(const std::string& name, const std::string& passwordHash,
             const AllowedDatabases& databases);
    void Remove(const std::string& name);  ///< as the two below, throws for an unknown name
    void SetPassword(const std::string& name, const std::string& passwordHash);
    void SetDatabases(const std::string& name, const AllowedDatabases& databases);

    std::optional<Account> Find(const std::string& name);
    std::vector<Account> List();  ///< by name

  private:
    class Query;

    template <class Work>
    auto Guarded(Work work);
    template <class Work>
    void ChangeOne(const std::string& name, Work work);
    Poco::Data::Session& Opened();
    void Close() noexcept;

    const std::string path_;
    std::mutex mutex_;                            ///< guards what follows
    std::optional<Poco::Data::Session> session_;  ///< none after a failure
    std::unique_ptr<Query> findPrepared_;         ///< of session_; null before the first use
};

}  // namespace CQXSERVER::sessions
