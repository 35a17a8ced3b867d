#include "adapter/connection_pool.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include "adapter/database_error.h"

namespace CQXDB::adapter {

Lease::Lease(std::shared_ptr<ConnectionPool> pool, std::unique_ptr<Connection> connection,
             std::string user) noexcept
    : pool_(std::move(pool)), connection_(std::move(connection)), user_(std::move(user)) {}

Lease::~Lease() {
    if (connection_) {
        pool_->Return(std::move(connection_), std::move(user_));
    }
}

ConnectionPool::ConnectionPool(Opener open, PoolLimits limits)
    : opener_(std::move(open)), limits_(limits) {
    idle_.reserve(limits_.maxConnections);
}

Lease ConnectionPool::Take(const std::string& user) {
    IdleConnection idle = TakeIdleOrReserve(user);
    std::unique_ptr<Connection>& connection = idle.connection;
    if (connection && !(connection->Alive() && (idle.user == user || connection->Reset()))) {
        connection.reset();
    }
    if (!connection) {
        connection = OpenReserved();
    }
    return {shared_from_this(), std::move(connection), user};
}

ConnectionPool::IdleConnection ConnectionPool::TakeIdleOrReserve(const std::string& user) {
    std::unique_lock<std::mutex> lock(mutex_);
    const bool ready = freed_.wait_for(lock, limits_.waitTimeout, [this] {
        return !idle_.empty() || open_ < limits_.maxConnections;
    });
    if (!ready) {
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
        idle_.push_back({std::move(connection), std::move(user)});
    }
    freed_.notify_one();
}

void ConnectionPool::GiveUpOne() noexcept {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        --open_;
    }
    freed_.notify_one();
}

void ConnectionPool::CloseIdle() noexcept {
    Idle closing;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        closing.swap(idle_);
        open_ -= closing.size();
    }
    freed_.notify_all();
}

bool ConnectionPool::Empty() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return open_ == 0;
}

}  // namespace CQXDB::adapter
