#include "server/requests/worker_pool.h"

#include <utility>

namespace CQXSERVER::requests {

WorkerPool::WorkerPool(unsigned threads) {
    for (unsigned i = 0; i < threads; ++i) {
        threads_.emplace_back([this] { Work(); });
    }
}

WorkerPool::~WorkerPool() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
        jobs_.clear();
    }
    wake_.notify_all();
    for (std::thread& each : threads_) {
        each.join();
    }
}

void WorkerPool::Submit(Job job) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        jobs_.push_back(std::move(job));
    }
    wake_.notify_one();
}

void WorkerPool::Work() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
        wake_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
        if (stopping_) {
            return;
        }
        Job job = std::move(jobs_.front());
        jobs_.pop_front();
        lock.unlock();
        job();
        job = nullptr;  // what it holds is given up outside the lock
        lock.lock();
    }
}

}  // namespace CQXSERVER::requests
