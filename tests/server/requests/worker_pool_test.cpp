// Whose turn it is.
#include "server/requests/worker_pool.h"

#include <condition_variable>
#include <list>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace CQXSERVER {
namespace {

using requests::WorkerPool;

/// Jobs that wait to be let go, and what has begun.
class Jobs {
  public:
    explicit Jobs(unsigned threads, std::size_t longest = 100) : pool_(threads, longest) {}
    ~Jobs() { Open(); }

    bool Add(const std::string& lane, bool favoured = false) {
        return pool_.Submit(
            lane, favoured,
            [this, lane] {
                std::unique_lock<std::mutex> lock(mutex_);
                begun_ += lane;
                changed_.notify_all();
                changed_.wait(lock, [this] { return open_; });
            },
            tickets_.emplace_back());
    }
    bool Withdraw(std::size_t job) {
        return pool_.Withdraw(*std::next(tickets_.begin(), static_cast<std::ptrdiff_t>(job)));
    }
    /// Waits until so many have begun, and tells which lanes' they are.
    std::string Begun(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] { return begun_.size() >= count; });
        return begun_;
    }
    void Open() {
        const std::lock_guard<std::mutex> lock(mutex_);
        open_ = true;
        changed_.notify_all();
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool open_ = false;
    std::string begun_;
    std::list<WorkerPool::Ticket> tickets_;
    WorkerPool pool_;
};

TEST(WorkerPool, LanesTakeTurnsAndTheFavouredGetHalfOfThem) {
    Jobs jobs(1);
    jobs.Add("a");
    jobs.Begun(1);
    for (const char* lane : {"a", "a", "a", "b", "b", "c"}) {
        jobs.Add(lane);
    }
    jobs.Add("k", true);
    jobs.Add("k", true);
    jobs.Open();
    EXPECT_EQ(jobs.Begun(9), "akakbcaba") << "the order of turns";
}

TEST(WorkerPool, NoLaneHoldsAllThreads) {
    Jobs jobs(8);
    for (int i = 0; i < 20; ++i) {
        jobs.Add("a");
    }
    EXPECT_EQ(jobs.Begun(6), "aaaaaa");
    jobs.Add("b");
    jobs.Add("b");
    EXPECT_EQ(jobs.Begun(7), "aaaaaab") << "the last thread is for who has none";
    jobs.Add("c");
    EXPECT_EQ(jobs.Begun(8), "aaaaaabc");
}

TEST(WorkerPool, WhatWaitsCanBeWithdrawnAndALaneIsBounded) {
    Jobs jobs(1, 2);
    jobs.Add("a");
    jobs.Begun(1);
    EXPECT_TRUE(jobs.Add("a"));
    EXPECT_TRUE(jobs.Add("a"));
    EXPECT_FALSE(jobs.Add("a"));
    EXPECT_TRUE(jobs.Add("b"));
    EXPECT_FALSE(jobs.Withdraw(0)) << "it has begun";
    EXPECT_TRUE(jobs.Withdraw(1));
    EXPECT_FALSE(jobs.Withdraw(1));
    EXPECT_FALSE(jobs.Withdraw(3)) << "it was never taken";
    EXPECT_TRUE(jobs.Withdraw(4));
    jobs.Open();
    EXPECT_EQ(jobs.Begun(2), "aa");
    EXPECT_TRUE(jobs.Add("b"));
    EXPECT_EQ(jobs.Begun(3), "aab");
}

}  // namespace
}  // namespace CQXSERVER
