// Connections are shared, bounded, waited for and replaced.
#include "adapter/connection_pool.h"

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "adapter/database_error.h"
#include "adapter/pool_registry.h"

namespace CQXDB::adapter {
namespace {

/// What the pool sees of a connection.
class Dummy : public Connection {
  public:
    explicit Dummy(std::atomic<int>& open) : open_(open) { ++open_; }
    ~Dummy() override { --open_; }
    std::shared_ptr<Statement> Prepare(const std::string&) override { return nullptr; }
    std::shared_ptr<Statement> PrepareScript(const std::string&) override { return nullptr; }
    const SqlDialect& Dialect() const noexcept override { return kSqliteDialect; }
    void Begin(TransactionKind) override {}
    void BeginLasting(const QXTransactionInfo&) override {}
    void Commit() override {}
    void Rollback() noexcept override {}
    bool InTransaction() noexcept override { return false; }
    bool Alive() noexcept override { return alive; }
    bool Usable() noexcept override { return usable; }

    bool alive = true;
    bool usable = true;

  private:
    std::atomic<int>& open_;
};

class ConnectionPoolTest : public testing::Test {
  protected:
    std::shared_ptr<ConnectionPool> Pool(std::size_t most, int seconds) {
        const auto open = [this]() -> std::unique_ptr<Connection> {
            if (refuse) {
                throw DatabaseError(77, "refused");
            }
            ++opened;
            return std::make_unique<Dummy>(alive);
        };
        return std::make_shared<ConnectionPool>(open,
                                                PoolLimits{most, std::chrono::seconds(seconds)});
    }
    /// A registry of such pools, whatever the description.
    PoolRegistry Registry(PoolLimits limits) {
        return PoolRegistry([this, limits](const QXDataSource&) {
            return std::make_shared<ConnectionPool>(
                [this] {
                    ++opened;
                    return std::make_unique<Dummy>(alive);
                },
                limits);
        });
    }
    static QXDataSource Source(int number) {
        QXDataSource source;
        source.database = std::to_wstring(number);
        return source;
    }
    static Dummy& Of(const Lease& lease) { return static_cast<Dummy&>(*lease); }

    std::atomic<int> alive{0};
    int opened = 0;
    bool refuse = false;
};

TEST_F(ConnectionPoolTest, ConnectionsThatDiedAreReplaced) {
    const auto pool = Pool(1, 0);
    Of(pool->Take()).usable = false;
    EXPECT_EQ(alive, 0);
    Of(pool->Take()).alive = false;
    EXPECT_EQ(alive, 1) << "found out when it is wanted again";
    const Lease lease = pool->Take();
    EXPECT_EQ(alive, 1);
    EXPECT_TRUE(Of(lease).alive);
}

TEST_F(ConnectionPoolTest, NobodyWaitsForEver) {
    const auto pool = Pool(2, 0);
    const Lease first = pool->Take();
    const Lease second = pool->Take();
    try {
        pool->Take();
        FAIL() << "a third connection";
    } catch (const DatabaseError& error) {
        EXPECT_EQ(error.Code(), DBMGR_POOL_TIMEOUT);
        EXPECT_NE(std::string(error.what()).find("2 connections"), std::string::npos);
    }
}

TEST_F(ConnectionPoolTest, ADetachedConnectionLeavesItsPlaceToAnother) {
    const auto pool = Pool(1, 0);
    {
        Lease out = pool->Take();
        out.Detach();
        const Lease other = pool->Take();
        EXPECT_EQ(alive, 2);
    }
    EXPECT_EQ(alive, 1) << "there is no room for both";
    {
        Lease out = pool->Take();
        out.Detach();
    }
    const Lease again = pool->Take();
    EXPECT_EQ(opened, 2);
}

TEST_F(ConnectionPoolTest, NobodyWaitsForTheOneConnectionThatHoldsTheData) {
    PoolLimits limits{1, std::chrono::hours(24)};
    limits.keepsData = true;
    PoolRegistry pools = Registry(limits);
    {
        Lease out = pools.Take(Source(1), {});
        out.Detach();
        EXPECT_THROW(pools.Take(Source(1), {}), DatabaseError);
    }
    const Lease again = pools.Take(Source(1), {});
    EXPECT_EQ(opened, 1);
}

TEST_F(ConnectionPoolTest, OneWhoWaitsCanBeCancelled) {
    const auto pool = Pool(1, 86400);
    Cancellation cancellation;
    {
        const Lease first = pool->Take();
        std::thread waiting([&] {
            try {
                pool->Take({}, &cancellation);
                ADD_FAILURE() << "a second connection";
            } catch (const DatabaseError& error) {
                EXPECT_EQ(error.Code(), DBMGR_CANCELLED);
            }
        });
        cancellation.Cancel();
        waiting.join();
    }
    EXPECT_THROW(pool->Take({}, &cancellation), DatabaseError);
    pool->Take();
    EXPECT_EQ(opened, 1) << "nothing was lost or opened in vain";
}

TEST_F(ConnectionPoolTest, AFailedOpeningLeavesRoomForTheNext) {
    const auto pool = Pool(1, 0);
    refuse = true;
    EXPECT_THROW(pool->Take(), DatabaseError);
    EXPECT_TRUE(pool->Empty());
    refuse = false;
    pool->Take();
    EXPECT_EQ(opened, 1);
}

TEST_F(ConnectionPoolTest, WaitersGetWhatOthersGiveBack) {
    const auto pool = Pool(1, 60);
    std::atomic<int> rounds{0};
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 200; ++i) {
                const Lease lease = pool->Take();
                Of(lease).usable = (i + t) % 7 != 0;
                ++rounds;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(rounds, 800);
    EXPECT_LE(alive, 1);
}

TEST_F(ConnectionPoolTest, WhatNobodyUsesIsClosedInTime) {
    const auto pool = Pool(2, 0);
    {
        const Lease first = pool->Take();
        const Lease second = pool->Take();
    }
    const Lease used = pool->Take();
    pool->CloseExpired(ConnectionPool::Clock::now() + std::chrono::seconds(299));
    EXPECT_EQ(alive, 2);
    pool->CloseExpired(ConnectionPool::Clock::now() + std::chrono::seconds(300));
    EXPECT_EQ(alive, 1) << "the one in use stays";
    const Lease another = pool->Take();
    EXPECT_EQ(alive, 2) << "there is room for one again";
}

TEST_F(ConnectionPoolTest, DescriptionsWithoutNumberKeepOnlySoManyConnections) {
    PoolRegistry registry = Registry({});
    constexpr int kSources = 1000;
    for (int i = 0; i < kSources; ++i) {
        registry.Take(Source(i), {});
        registry.Take(Source(0), {});
    }
    EXPECT_LE(alive, 130);
    EXPECT_LE(registry.Size(), 130U);
    EXPECT_EQ(opened, kSources) << "the one used again and again stays";
    std::vector<Lease> used;
    for (int i = 0; i < 200; ++i) {
        used.push_back(registry.Take(Source(i), {}));
    }
    EXPECT_GE(alive, 200) << "those in use are not counted";
}

TEST_F(ConnectionPoolTest, PoolsWithoutConnectionsAreForgottenAndThoseWithDataStay) {
    PoolLimits limits;
    limits.idleTime = std::chrono::seconds(0);
    PoolRegistry registry = Registry(limits);
    registry.Take(Source(1), {});
    registry.CloseExpired();
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(registry.Size(), 0U);
    limits.keepsData = true;
    PoolRegistry memory = Registry(limits);
    for (int i = 0; i < 200; ++i) {
        memory.Take(Source(i), {});
    }
    memory.CloseExpired();
    EXPECT_EQ(alive, 200);
    memory.CloseIdle();
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(memory.Size(), 0U);
}

}  // namespace
}  // namespace CQXDB::adapter
