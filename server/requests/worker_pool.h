// Threads that run jobs in the order of their arrival.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace CQXSERVER::requests {

/// The queue needs no bound of its own: a connection has one request under way at a time.
class WorkerPool {
  public:
    using Job = std::function<void()>;  ///< lets no exception out

    explicit WorkerPool(unsigned threads);
    /// Finishes the running jobs and drops those not begun.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    void Submit(Job job);  ///< from any thread

  private:
    void Work();

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Job> jobs_;   ///< guarded by mutex_
    bool stopping_ = false;  ///< guarded by mutex_
    std::vector<std::thread> threads_;
};

}  // namespace CQXSERVER::requests
