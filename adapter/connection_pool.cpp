#include "adapter/connection_pool.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "adapter/cancellable_work.h"
#include "adapter/database_error.h"

namespace CQXDB::adapter {
namespace {

/// How often one who waits looks whether he is cancelled.
constexpr std::chrono::milliseconds kLook{50};

}  // namespace

Lease::Lease(std::shared_ptr<ConnectionPool> pool, std::unique_ptr<Connection> connection,
             std::string user) noexcept
    : pool_(std::move(pool)), connection_(std::move(connection)), user_(std::move(user)) {}

Lease::~Lease() {
    if (connection_ && detached_) {
        pool_->Attach(connection_);
    }
    if (connection_) {
        pool_->Return(std::move(connection_), std::move(user_));
    }
}

void Lease::Detach() noexcept {
    detached_ = true;
    pool_->Detach();
}

ConnectionPool::ConnectionPool(Opener open, PoolLimits limits)
    : opener_(std::move(open)), limits_(limits) {
    idle_.reserve(limits_.maxConnections);
}

ConnectionPool::~ConnectionPool() {
    CloseIdle();
}

Lease ConnectionPool::Take(const std::string& user, const Cancellation* cancellation) {
    CancellableWork::Check(cancellation);
    IdleConnection idle = TakeIdleOrReserve(user, cancellation);
    std::unique_ptr<Connection>& connection = idle.connection;
    if (connection && !(connection->Alive() && (idle.user == user || connection->Reset()))) {
        connection.reset();
    }
    if (!connection) {
        connection = OpenReserved();
    }
    return {shared_from_this(), std::move(connection), user};
}

bool ConnectionPool::WaitForRoom(std::unique_lock<std::mutex>& lock,
                                 const Cancellation* cancellation) {
    const auto end = std::chrono::steady_clock::now() + limits_.waitTimeout;
    for (;;) {
        // Before the look at the cancellation: nobody else is told of what this one was told.
        if (!idle_.empty() || open_ < limits_.maxConnections) {
            return true;
        }
        CancellableWork::Check(cancellation);
        const auto now = std::chrono::steady_clock::now();
        if (only_) {
            throw DatabaseError(DBMGR_POOL_TIMEOUT,
                                "the database's only connection is in a transaction");
        }
        if (now >= end) {
            return false;
        }
        freed_.wait_until(lock, cancellation == nullptr ? end : std::min(end, now + kLook));
    }
}

ConnectionPool::IdleConnection ConnectionPool::TakeIdleOrReserve(const std::string& user,
                                                                 const Cancellation* cancellation) {
    std::unique_lock<std::mutex> lock(mutex_);
    if (!WaitForRoom(lock, cancellation)) {
        throw DatabaseError(DBMGR_POOL_TIMEOUT,
                            "all " + std::to_string(limits_.maxConnections) +
                                " connections to the database stayed in use for " +
                                std::to_string(limits_.waitTimeout.count()) + " seconds");
    }
    if (idle_.empty()) {
        ++open_;
        return {};
    }
    const auto own =
        std::find_if(idle_.rbegin(), idle_.rend(),
                     [&user](const IdleConnection& each) { return each.user == user; });
    if (own != idle_.rend()) {
        std::rotate(std::prev(own.base()), own.base(), idle_.end());
    }
    IdleConnection taken = std::move(idle_.back());
    idle_.pop_back();
    Count(-1);
    return taken;
}

std::unique_ptr<Connection> ConnectionPool::OpenReserved() {
    try {
        return opener_();
    } catch (...) {
        GiveUpOne();
        throw;
    }
}

void ConnectionPool::Return(std::unique_ptr<Connection> connection, std::string user) noexcept {
    if (!connection->Usable()) {
        connection.reset();
        GiveUpOne();
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        idle_.push_back({std::move(connection), std::move(user), Clock::now()});
        Count(1);
    }
    freed_.notify_one();
}

void ConnectionPool::Detach() noexcept {
    if (limits_.keepsData) {
        const std::lock_guard<std::mutex> lock(mutex_);
        only_ = true;
        freed_.notify_all();
    } else {
        GiveUpOne();
    }
}

void ConnectionPool::Attach(std::unique_ptr<Connection>& connection) noexcept {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (std::exchange(only_, false)) {
            return;
        }
        if (open_ < limits_.maxConnections) {
            ++open_;
            return;
        }
    }
    connection.reset();
}

void ConnectionPool::GiveUpOne() noexcept {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        --open_;
    }
    freed_.notify_one();
}

template <typename Condition>
void ConnectionPool::CloseWhile(Condition condition) noexcept {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!idle_.empty() && condition(idle_.front())) {
        std::unique_ptr<Connection> closing = std::move(idle_.front().connection);
        idle_.erase(idle_.begin());
        Count(-1);
        --open_;
        lock.unlock();
        closing.reset();
        freed_.notify_one();
        lock.lock();
    }
}

void ConnectionPool::CloseIdle() noexcept {
    CloseWhile([now = Clock::now()](const IdleConnection& each) { return each.since <= now; });
}

void ConnectionPool::CloseExpired(Clock::time_point now) noexcept {
    if (!limits_.keepsData) {
        CloseWhile(
            [&](const IdleConnection& each) { return now - each.since >= limits_.idleTime; });
    }
}

void ConnectionPool::CloseOldest() noexcept {
    if (!limits_.keepsData) {
        CloseWhile(
            [first = true](const IdleConnection&) mutable { return std::exchange(first, false); });
    }
}

ConnectionPool::Clock::time_point ConnectionPool::OldestIdle() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return limits_.keepsData || idle_.empty() ? Clock::time_point::max() : idle_.front().since;
}

void ConnectionPool::Count(std::ptrdiff_t change) noexcept {
    if (idleCount_ && !limits_.keepsData) {
        *idleCount_ += static_cast<std::size_t>(change);
    }
}

bool ConnectionPool::Empty() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return open_ == 0;
}

}  // namespace CQXDB::adapter
