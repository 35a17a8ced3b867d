#include "adapter/pool_registry.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

#include "util/text.h"

namespace CQXDB::adapter {
namespace {

/// Idle connections of all pools together, each of which may have several descriptors.
constexpr std::size_t kMostIdle = 128;
constexpr std::chrono::seconds kLook{1};

/// Two characters, whatever the width of one. Keys are made for every call, and printing numbers
/// would be most of the work.
void AddNumber(std::wstring& key, std::uint32_t number) {
    key.append({static_cast<wchar_t>(number >> 16), static_cast<wchar_t>(number & 0xffff)});
}

void AddPart(std::wstring& key, std::wstring_view part) {
    AddNumber(key, static_cast<std::uint32_t>(part.size()));
    key.append(part);
}

/// Everything that makes a difference to a connection; the name and the version do not.
std::wstring KeyOf(const QXDataSource& ds, bool anyDatabase) {
    // A connection that has been in a database can't be in none any more.
    const std::wstring database = anyDatabase && !ds.database.empty() ? L"*" : ds.database;
    std::wstring key;
    for (const std::int32_t number :
         {static_cast<std::int32_t>(ds.type), ds.port, std::int32_t{ds.trusted},
          static_cast<std::int32_t>(ds.driver)}) {
        AddNumber(key, static_cast<std::uint32_t>(number));
    }
    for (const std::wstring* text : {&ds.server, &database, &ds.user, &ds.password, &ds.driverName,
                                     &ds.dsn, &ds.connectionString, &ds.extra}) {
        AddPart(key, *text);
    }
    return key.append(ds.options.begin(), ds.options.end());
}

}  // namespace

PoolRegistry::PoolRegistry(PoolMaker maker, ChangesDatabase changesDatabase)
    : maker_(std::move(maker)), changesDatabase_(changesDatabase) {}

Lease PoolRegistry::Take(const QXDataSource& dataSource, const std::string& user,
                         const Cancellation* cancellation) {
    TidyUp();
    std::shared_ptr<ConnectionPool> pool = PoolOf(dataSource);
    try {
        Lease lease = pool->Take(user, cancellation);
        ChooseDatabase(*lease, dataSource);
        return lease;
    } catch (...) {
        pool.reset();
        ForgetUnused();
        throw;
    }
}

std::wstring PoolRegistry::Key(const QXDataSource& dataSource) const {
    return KeyOf(dataSource, ChangeDatabase(dataSource));
}

void PoolRegistry::ChooseDatabase(Connection& connection, const QXDataSource& dataSource) const {
    if (ChangeDatabase(dataSource)) {
        connection.UseDatabase(CQXBASE::WideToUtf8(dataSource.database));
    }
}

bool PoolRegistry::ChangeDatabase(const QXDataSource& dataSource) const {
    return changesDatabase_ != nullptr && changesDatabase_(dataSource);
}

std::shared_ptr<ConnectionPool> PoolRegistry::PoolOf(const QXDataSource& dataSource) {
    const std::wstring key = Key(dataSource);
    const std::lock_guard<std::mutex> lock(mutex_);
    std::shared_ptr<ConnectionPool>& pool = pools_[key];
    if (!pool) {
        try {
            pool = maker_(dataSource);
            pool->CountIdle(idle_);
        } catch (...) {
            pools_.erase(key);
            throw;
        }
    }
    return pool;
}

void PoolRegistry::ForgetUnused() {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = pools_.begin(); it != pools_.end();) {
        // Nobody else can get hold of the pool while the lock is held.
        const bool unused = it->second.use_count() == 1 && it->second->Empty();
        it = unused ? pools_.erase(it) : std::next(it);
    }
}

PoolRegistry::Pools PoolRegistry::All() {
    const std::lock_guard<std::mutex> lock(mutex_);
    Pools pools;
    pools.reserve(pools_.size());
    for (const auto& [key, pool] : pools_) {
        pools.push_back(pool);
    }
    return pools;
}

std::size_t PoolRegistry::Size() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return pools_.size();
}

void PoolRegistry::CloseIdle() {
    for (const auto& pool : All()) {
        pool->CloseIdle();
    }
    ForgetUnused();
}

void PoolRegistry::CloseExpired() {
    const auto now = ConnectionPool::Clock::now();
    for (const auto& pool : All()) {
        pool->CloseExpired(now);
    }
    ForgetUnused();
}

void PoolRegistry::TidyUp() noexcept {
    const auto now = ConnectionPool::Clock::now();
    try {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (now < nextLook_ && *idle_ <= kMostIdle) {
                return;
            }
            nextLook_ = now + kLook;
        }
        CloseExpired();
        CloseOldest();
    } catch (...) {
        // There is no memory: another call does it.
    }
}

void PoolRegistry::CloseOldest() {
    const std::size_t idle = *idle_;
    for (std::size_t more = idle - std::min(idle, kMostIdle); more > 0; --more) {
        const Pools pools = All();
        const auto oldest =
            std::min_element(pools.begin(), pools.end(), [](const auto& one, const auto& other) {
                return one->OldestIdle() < other->OldestIdle();
            });
        if (oldest != pools.end()) {
            (*oldest)->CloseOldest();
        }
    }
    ForgetUnused();
}

}  // namespace CQXDB::adapter
