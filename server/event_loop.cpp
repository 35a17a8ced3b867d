#include "server/event_loop.h"

#include <algorithm>
#include <utility>

#include <ace/Reactor.h>

#include "platform/server_reactor.h"
#include "server/server_error.h"

namespace CQXSERVER {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLongestWait{60000};

}  // namespace

EventLoop::EventLoop(std::size_t handles)
    : reactor_(CQXBASE::platform::MakeServerReactor(handles)) {
    if (reactor_ == nullptr) {
        throw OperatorError("the system offers no way to watch that many connections");
    }
}

EventLoop::~EventLoop() {
    reactor_->purge_pending_notifications(this);
}

void EventLoop::Post(Task task) {
    bool first = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        first = posted_.empty();
        posted_.push_back(std::move(task));
    }
    if (first) {
        reactor_->notify(this, ACE_Event_Handler::EXCEPT_MASK);
    }
}

void EventLoop::At(TimePoint when, Task task) {
    timed_.emplace(when, std::move(task));
}

void EventLoop::RunOnce() {
    milliseconds wait = kLongestWait;
    if (!timed_.empty()) {
        // A part of a millisecond is waited for as a whole one, or the loop would spin through it.
        wait = std::chrono::ceil<milliseconds>(timed_.begin()->first - SteadyNow());
        wait = std::clamp(wait, milliseconds(0), kLongestWait);
    }
    ACE_Time_Value timeout;
    timeout.set_msec(static_cast<ACE_UINT64>(wait.count()));
    reactor_->handle_events(timeout);
    RunDue();
}

int EventLoop::handle_exception(ACE_HANDLE) {
    std::vector<Task> tasks;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        tasks.swap(posted_);
    }
    for (const Task& each : tasks) {
        each();
    }
    return 0;
}

void EventLoop::RunDue() {
    while (!timed_.empty() && timed_.begin()->first <= SteadyNow()) {
        const Task task = std::move(timed_.begin()->second);
        timed_.erase(timed_.begin());
        task();
    }
}

}  // namespace CQXSERVER
