// The pooled connections of one data source.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <qxdb/Cancellation.h>

#include "adapter/connection.h"

namespace CQXDB::adapter {

struct PoolLimits {
    std::size_t maxConnections = 8;
    std::chrono::seconds waitTimeout{30};
    std::chrono::seconds idleTime{300};  ///< how long a connection is kept that nobody uses
    /// The database goes with its connection, which only CloseIdle closes then.
    bool keepsData = false;
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

    /// Lets the pool open another connection in place of this one, which is out for long. Where
    /// there can't be a second one, others are refused at once instead of waiting.
    void Detach() noexcept;

  private:
    std::shared_ptr<ConnectionPool> pool_;
    std::unique_ptr<Connection> connection_;
    std::string user_;
    bool detached_ = false;
};

/// Thread-safe. Opening, checking and closing of connections happens outside the lock.
class ConnectionPool : public std::enable_shared_from_this<ConnectionPool> {
  public:
    using Opener = std::function<std::unique_ptr<Connection>()>;

    using Clock = std::chrono::steady_clock;
    /// How many connections are idle in several pools.
    using IdleCount = std::atomic<std::size_t>;

    ConnectionPool(Opener open, PoolLimits limits);
    ~ConnectionPool();
    ConnectionPool(const ConnectionPool&) = delete;
    ConnectionPool& operator=(const ConnectionPool&) = delete;

    /// To be called before the first Take. Connections that keep data are not counted.
    void CountIdle(std::shared_ptr<IdleCount> count) noexcept { idleCount_ = std::move(count); }

    /// Takes an idle connection that is still alive, or opens one. What one user's statements have
    /// left in a session is not met by another: a connection that changes hands is reset, or
    /// replaced where that can't be done. Waits while all are in use; throws DatabaseError when
    /// that lasts too long or is cancelled, and what the opener throws. `cancellation` may be null.
    Lease Take(const std::string& user = {}, const Cancellation* cancellation = nullptr);
    void CloseIdle() noexcept;
    /// Closes those that have been idle for as long as the limits allow.
    void CloseExpired(Clock::time_point now) noexcept;
    void CloseOldest() noexcept;
    /// Since when the connection is idle that CloseOldest would close; max() when there is none.
    Clock::time_point OldestIdle();
    /// True when no connection is open or being opened.
    bool Empty();

  private:
    friend class Lease;
    struct IdleConnection {
        std::unique_ptr<Connection> connection;
        std::string user;         ///< who had it last
        Clock::time_point since;  ///< when he gave it back
    };
    using Idle = std::vector<IdleConnection>;

    /// An idle connection, the user's own last one if there is any; or null after reserving the
    /// right to open one.
    IdleConnection TakeIdleOrReserve(const std::string& user, const Cancellation* cancellation);
    /// False when the time to wait is over. Throws DatabaseError when cancelled.
    bool WaitForRoom(std::unique_lock<std::mutex>& lock, const Cancellation* cancellation);
    std::unique_ptr<Connection> OpenReserved();
    void Return(std::unique_ptr<Connection> connection, std::string user) noexcept;
    void Detach() noexcept;
    /// Takes a detached connection back for Return, or closes it when there is no room.
    void Attach(std::unique_ptr<Connection>& connection) noexcept;
    void GiveUpOne() noexcept;
    /// Closes idle connections, from the oldest on, for as long as `condition` holds.
    template <typename Condition>
    void CloseWhile(Condition condition) noexcept;
    void Count(std::ptrdiff_t change) noexcept;

    const Opener opener_;
    const PoolLimits limits_;
    std::shared_ptr<IdleCount> idleCount_;  ///< may be null

    std::mutex mutex_;
    std::condition_variable freed_;
    // Guarded by mutex_:
    Idle idle_;             ///< in the order of their return
    std::size_t open_ = 0;  ///< idle ones, those in use, and those being opened; none detached
    bool only_ = false;     ///< the one connection there can be is detached
};

}  // namespace CQXDB::adapter
