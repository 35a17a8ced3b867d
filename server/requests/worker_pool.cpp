#include "server/requests/worker_pool.h"

#include <algorithm>
#include <utility>

namespace CQXSERVER::requests {

WorkerPool::WorkerPool(unsigned threads, std::size_t longestLane)
    : threadCount_(threads),
      mostPerLane_(std::max(1U, threads * 3 / 4)),
      longestLane_(longestLane) {
    for (unsigned i = 0; i < threads; ++i) {
        threads_.emplace_back([this] { Work(); });
    }
}

WorkerPool::~WorkerPool() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
        for (auto& [name, lane] : lanes_) {
            lane.waiting.clear();
        }
    }
    wake_.notify_all();
    for (std::thread& each : threads_) {
        each.join();
    }
}

bool WorkerPool::Submit(const std::string& name, bool favoured, Job job, Ticket& ticket) {
    std::list<Waiting> added;
    added.push_back({std::move(job), &ticket});
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto [found, fresh] = lanes_.try_emplace(name);
        Lane& lane = found->second;
        if (fresh) {
            try {
                lane.turn.push_back(&lane);
            } catch (...) {
                lanes_.erase(found);
                throw;
            }
            lane.name = &found->first;
            lane.place = lane.turn.begin();
            lane.ring = &rings_[favoured ? 1 : 0];
        }
        if (lane.waiting.size() >= longestLane_) {
            return false;
        }
        ticket.lane_ = &lane;
        ticket.place_ = added.begin();
        lane.waiting.splice(lane.waiting.end(), added);
        if (!lane.turn.empty()) {
            lane.ring->splice(lane.ring->end(), lane.turn);
        }
    }
    wake_.notify_one();
    return true;
}

bool WorkerPool::Withdraw(Ticket& ticket) noexcept {
    std::list<Waiting> dropped;  // outside of the lock
    const std::lock_guard<std::mutex> lock(mutex_);
    Lane* const lane = std::exchange(ticket.lane_, nullptr);
    if (lane == nullptr) {
        return false;
    }
    dropped.splice(dropped.end(), lane->waiting, ticket.place_);
    Leave(*lane);
    return true;
}

/// Takes a lane without waiting jobs out of its ring, and forgets one that has no running ones.
void WorkerPool::Leave(Lane& lane) noexcept {
    if (lane.waiting.empty() && lane.turn.empty()) {
        lane.turn.splice(lane.turn.end(), *lane.ring, lane.place);
    }
    if (lane.waiting.empty() && lane.running == 0) {
        lanes_.erase(lanes_.find(*lane.name));
    }
}

bool WorkerPool::MayRun(const Lane& lane) const noexcept {
    const unsigned free = threadCount_ - busy_;
    return lane.running < mostPerLane_ && (free > 1 || lane.running == 0);
}

WorkerPool::Lane* WorkerPool::NextLane() noexcept {
    for (std::size_t i = 0; i < rings_.size(); ++i) {
        const std::size_t index = (turn_ + i) % rings_.size();
        const auto found = std::find_if(rings_[index].begin(), rings_[index].end(),
                                        [this](const Lane* lane) { return MayRun(*lane); });
        if (found != rings_[index].end()) {
            turn_ = (index + 1) % rings_.size();
            return *found;
        }
    }
    return nullptr;
}

void WorkerPool::Work() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
        Lane* lane = nullptr;
        wake_.wait(lock, [&] { return stopping_ || (lane = NextLane()) != nullptr; });
        if (stopping_) {
            return;
        }
        std::list<Waiting> begun;
        begun.splice(begun.end(), lane->waiting, lane->waiting.begin());
        begun.front().ticket->lane_ = nullptr;
        lane->ring->splice(lane->ring->end(), *lane->ring, lane->place);
        ++lane->running;
        ++busy_;
        Leave(*lane);
        lock.unlock();
        begun.front().job();
        begun.clear();  // what it holds is given up outside the lock
        lock.lock();
        --busy_;
        --lane->running;
        Leave(*lane);
    }
}

}  // namespace CQXSERVER::requests
