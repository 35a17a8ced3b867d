// The pools of one manager class, one for each data source.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include <qxdb/QXDataSource.h>

#include "adapter/connection_pool.h"

namespace CQXDB::adapter {

/// Thread-safe.
class PoolRegistry {
  public:
    /// Makes the pool of a data source; throws DatabaseError for a description it can't use.
    using PoolMaker = std::function<std::shared_ptr<ConnectionPool>(const QXDataSource&)>;

    explicit PoolRegistry(PoolMaker maker);
    PoolRegistry(const PoolRegistry&) = delete;
    PoolRegistry& operator=(const PoolRegistry&) = delete;

    Lease Take(const QXDataSource& dataSource);
    void CloseIdle();

  private:
    std::shared_ptr<ConnectionPool> PoolOf(const QXDataSource& dataSource);
    void ForgetUnused();

    const PoolMaker maker_;
    std::mutex mutex_;
    std::map<std::wstring, std::shared_ptr<ConnectionPool>> pools_;  ///< guarded by mutex_
};

}  // namespace CQXDB::adapter
