// Threads that run jobs, fairly.
#pragma once

#include <array>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace CQXSERVER::requests {

/// Jobs wait in lanes, each in the order of its arrival; the lanes take turns. A lane holds three
/// quarters of the threads at most, and the last free thread goes to a lane that has none, so that
/// one lane's long jobs leave a way for another's. A single thread serves whoever's turn it is.
class WorkerPool {
    struct Lane;
    struct Waiting;

  public:
    using Job = std::function<void()>;  ///< lets no exception out

    /// A job that waits. To be kept in place until the job has begun or was withdrawn.
    class Ticket {
        friend class WorkerPool;
        Lane* lane_ = nullptr;  ///< null unless the job waits; guarded by the pool's mutex
        std::list<Waiting>::iterator place_;
    };

    /// A lane takes `longestLane` waiting jobs at most.
    WorkerPool(unsigned threads, std::size_t longestLane);
    /// Finishes the running jobs and drops those not begun.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// False when the lane is full. From any thread. A lane is `favoured` or not for as long as it
    /// has jobs; the favoured ones get half of the turns however few they are.
    bool Submit(const std::string& lane, bool favoured, Job job, Ticket& ticket);
    /// Takes a job back that has not begun; false when it has, or never waited.
    bool Withdraw(Ticket& ticket) noexcept;

  private:
    struct Waiting {
        Job job;
        Ticket* ticket;
    };
    using Ring = std::list<Lane*>;  ///< lanes with waiting jobs, the one whose turn it is first
    struct Lane {
        const std::string* name = nullptr;  ///< its key in lanes_
        std::list<Waiting> waiting;
        unsigned running = 0;
        Ring* ring = nullptr;
        Ring turn;  ///< the lane's own element, while it is in no ring
        Ring::iterator place;
    };

    void Work();
    bool MayRun(const Lane& lane) const noexcept;
    Lane* NextLane() noexcept;
    void Leave(Lane& lane) noexcept;

    const unsigned threadCount_;
    const unsigned mostPerLane_;
    const std::size_t longestLane_;

    std::mutex mutex_;
    std::condition_variable wake_;
    // Guarded by mutex_.
    std::unordered_map<std::string, Lane> lanes_;
    std::array<Ring, 2> rings_;  ///< the usual lanes, the favoured ones
    std::size_t turn_ = 0;       ///< the ring that is asked first
    unsigned busy_ = 0;          ///< threads that run a job
    bool stopping_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace CQXSERVER::requests
