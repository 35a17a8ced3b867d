// The pooled connections of one data source.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <qxdb/Cancellation.h>

#include "adapter/connection.h"

namespace CQXDB::adapter {

struct PoolLimits {
    std::size_t maxConnections = 8;
    std::chrono::seconds waitTimeout{30};
};

class ConnectionPool;

/// A connection taken from a pool, given back on destruction.
class Lease {
  public:
    Lease(std::shared_ptr<ConnectionPool> pool, std::unique_ptr<Connection> connection,
          std::string user) noexcept;
    Lease(Lease&&) noexcept = default;
    Lease& operator=(Lease&&) = delete;
    ~Lease();
    Connection& operator*() const noexcept { return *connection_; }
    Connection* operator->() const noexcept { return connection_.get(); }

  private:
    std::shared_ptr<ConnectionPool> pool_;
    std::unique_ptr<Connection> connection_;
    std::string user_;
};

/// Thread-safe. Opening, checking and closing of connections happens outside the lock.
class ConnectionPool : public std::enable_shared_from_this<ConnectionPool> {
  public:
    using Opener = std::function<std::unique_ptr<Connection>()>;

    ConnectionPool(Opener open, PoolLimits limits);

    /// Takes an idle connection that is still alive, or opens one. What one user's statements have
    /// left in a session is not met by another: a connection that changes hands is reset, or
    /// replaced where that can't be done. Waits while all are in use; throws DatabaseError when
    /// that lasts too long or is cancelled, and what the opener throws. `cancellation` may be null.
    Lease Take(const std::string& user = {}, const Cancellation* cancellation = nullptr);
    void CloseIdle() noexcept;
    /// True when no connection is open or being opened.
    bool Empty();

  private:
    friend class Lease;
    struct IdleConnection {
        std::unique_ptr<Connection> connection;
        std::string user;  ///< who had it last
    };
    using Idle = std::vector<IdleConnection>;

    /// An idle connection, the user's own last one if there is any; or null after reserving the
    /// right to open one.
    IdleConnection TakeIdleOrReserve(const std::string& user, const Cancellation* cancellation);
    /// False when the time to wait is over. Throws DatabaseError when cancelled.
    bool WaitForRoom(std::unique_lock<std::mutex>& lock, const Cancellation* cancellation);
    std::unique_ptr<Connection> OpenReserved();
    void Return(std::unique_ptr<Connection> connection, std::string user) noexcept;
    void GiveUpOne() noexcept;

    const Opener opener_;
    const PoolLimits limits_;

    std::mutex mutex_;
    std::condition_variable freed_;
    // Guarded by mutex_:
    Idle idle_;             ///< the one used last is at the back
    std::size_t open_ = 0;  ///< idle ones, those in use, and those being opened
};

}  // namespace CQXDB::adapter
