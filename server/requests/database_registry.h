// The databases that the server serves, by name.
#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include <qxdb/QXDataSource.h>

#include "server/server_options.h"
#include "server/sessions/account_store.h"

namespace CQXSERVER::requests {

/// Filled before the server starts; after that every thread may read it.
class DatabaseRegistry {
  public:
    /// Statements that run longer than `statementTimeout` are ended, where the database can do that
    /// and its own URL doesn't say otherwise; 0 is no limit.
    DatabaseRegistry(ClientDataSources clients, std::chrono::milliseconds statementTimeout)
        : clients_(std::move(clients)), statementTimeout_(statementTimeout) {}

    /// Throws OperatorError for a bad or taken name, or a URL that describes no database.
    void Add(const std::string& name, const std::string& url);

    /// The database to use for a command that came stamped with `wanted`: the client's own
    /// description when those are allowed and it is one, else the configured database it names;
    /// without a name the session's, else "main", else the first that the account may use. Throws
    /// RequestRefused.
    CQXDB::QXDataSource Resolve(const CQXDB::QXDataSource& wanted, const sessions::Account& account,
                                const std::string& sessionDatabase) const;

    /// The name that Resolve takes for an unnamed database. Throws RequestRefused when there is
    /// none.
    std::string DefaultName(const sessions::Account& account) const;
    /// Throws RequestRefused for an unknown name, or one that the account may not use.
    const CQXDB::QXDataSource& Require(const std::string& name,
                                       const sessions::Account& account) const;

    const std::vector<std::pair<std::string, CQXDB::QXDataSource>>& All() const noexcept {
        return databases_;
    }

  private:
    void Add(const std::string& name, const CQXDB::QXDataSource& dataSource);
    const CQXDB::QXDataSource* Find(const std::string& name) const noexcept;

    /// A client's own description with the server's limits. Throws RequestRefused.
    CQXDB::QXDataSource Confine(const CQXDB::QXDataSource& wanted) const;
    std::string Timeout() const;

    const ClientDataSources clients_;
    const std::chrono::milliseconds statementTimeout_;
    std::vector<std::pair<std::string, CQXDB::QXDataSource>> databases_;
};

}  // namespace CQXSERVER::requests
