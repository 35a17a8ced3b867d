// The pools of one manager class, one for each data source. Data sources that differ in nothing but
// the database share a pool when its connections can change to another one.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <qxdb/QXDataSource.h>

#include "adapter/connection_pool.h"

namespace CQXDB::adapter {

/// Thread-safe.
class PoolRegistry {
  public:
    /// Makes the pool of a data source; throws DatabaseError for a description it can't use.
    using PoolMaker = std::function<std::shared_ptr<ConnectionPool>(const QXDataSource&)>;

    /// Tells whether the connections of a data source can change to another database.
    using ChangesDatabase = bool (*)(const QXDataSource&);

    explicit PoolRegistry(PoolMaker maker, ChangesDatabase changesDatabase = nullptr);
    PoolRegistry(const PoolRegistry&) = delete;
    PoolRegistry& operator=(const PoolRegistry&) = delete;

    /// See ConnectionPool::Take; also throws what the pool's maker throws.
    Lease Take(const QXDataSource& dataSource, const std::string& user,
               const Cancellation* cancellation = nullptr);
    /// The same for all data sources whose connections are of one pool.
    std::wstring Key(const QXDataSource& dataSource) const;
    /// Where connections of the data source can change to its database, does so.
    void ChooseDatabase(Connection& connection, const QXDataSource& dataSource) const;
    void CloseIdle();
    /// Closes the connections that have been idle for longer than their pools keep them, and
    /// forgets the pools that have none.
    void CloseExpired();
    /// How many pools there are.
    std::size_t Size();

  private:
    using Pools = std::vector<std::shared_ptr<ConnectionPool>>;

    Pools All();
    /// Closes, now and then, what is to go by its time, and at once what is too much.
    void TidyUp() noexcept;
    /// As many idle ones as are too much.
    void CloseOldest();
    std::shared_ptr<ConnectionPool> PoolOf(const QXDataSource& dataSource);
    void ForgetUnused();
    bool ChangeDatabase(const QXDataSource& dataSource) const;

    const PoolMaker maker_;
    const ChangesDatabase changesDatabase_;  ///< may be null
    const std::shared_ptr<ConnectionPool::IdleCount> idle_ =
        std::make_shared<ConnectionPool::IdleCount>(0);
    std::mutex mutex_;
    std::map<std::wstring, std::shared_ptr<ConnectionPool>> pools_;  ///< guarded by mutex_
    ConnectionPool::Clock::time_point nextLook_;  ///< when TidyUp looks at all pools; the same
};

}  // namespace CQXDB::adapter
