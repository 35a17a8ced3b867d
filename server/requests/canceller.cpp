#include "server/requests/canceller.h"

#include <chrono>
#include <utility>

namespace CQXSERVER::requests {
namespace {

constexpr std::chrono::seconds kBetweenTries{1};

}  // namespace

Canceller::Canceller() : thread_([this] { Work(); }) {}

Canceller::~Canceller() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

void Canceller::Add(std::shared_ptr<CQXDB::Cancellation> cancellation) {
    Cancellations one;
    one.push_back(std::move(cancellation));
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        added_.splice(added_.end(), one);
    }
    wake_.notify_all();
}

void Canceller::Work() {
    Cancellations underWay;
    std::unique_lock<std::mutex> lock(mutex_);
    while (!stopping_) {
        const auto news = [this] { return stopping_ || !added_.empty(); };
        if (underWay.empty()) {
            wake_.wait(lock, news);
        } else {
            wake_.wait_for(lock, kBetweenTries, news);
        }
        underWay.splice(underWay.end(), added_);
        lock.unlock();
        underWay.remove_if([](const auto& each) { return each.use_count() == 1; });
        for (const auto& each : underWay) {
            each->Cancel();
        }
        lock.lock();
    }
}

}  // namespace CQXSERVER::requests
