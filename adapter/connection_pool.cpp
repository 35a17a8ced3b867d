#include "adapter/connection_pool.h"

#include <string>
#include <utility>

#include "adapter/database_error.h"

namespace CQXDB::adapter {

Lease::Lease(std::shared_ptr<ConnectionPool> pool, std::unique_ptr<Connection> connection) noexcept
    : pool_(std::move(pool)), connection_(std::move(connection)) {}

Lease::~Lease() {
    if (connection_) {
        pool_->Return(std::move(connection_));
    }
}

ConnectionPool::ConnectionPool(Opener open, PoolLimits limits)
    : opener_(std::move(open)), limits_(limits) {
    idle_.reserve(limits_.maxConnections);
}

Lease ConnectionPool::Take() {
    for (;;) {
        std::unique_ptr<Connection> connection = TakeIdleOrReserve();
        if (!connection) {
            return {shared_from_this(), OpenReserved()};
        }
        if (connection->Alive()) {
            return {shared_from_this(), std::move(connection)};
        }
        connection.reset();
        GiveUpOne();
    }
}

std::unique_ptr<Connection> ConnectionPool::TakeIdleOrReserve() {
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
        return nullptr;
    }
    std::unique_ptr<Connection> connection = std::move(idle_.back());
    idle_.pop_back();
    return connection;
}

std::unique_ptr<Connection> ConnectionPool::OpenReserved() {
    try {
        return opener_();
    } catch (...) {
        GiveUpOne();
        throw;
    }
}

void ConnectionPool::Return(std::unique_ptr<Connection> connection) noexcept {
    if (!connection->Usable()) {
        connection.reset();
        GiveUpOne();
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        idle_.push_back(std::move(connection));
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
