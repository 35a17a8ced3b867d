#include "server/network/event_loop.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <new>
#include <thread>
#include <utility>

#include <ace/Reactor.h>
#include <ace/Thread.h>

#include "platform/sockets/server_reactor.h"
#include "server/log.h"
#include "server/server_error.h"

namespace CQXSERVER::network {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLongestWait{60000};
constexpr milliseconds kRetryWait{100};  ///< before a task that found no memory runs once more
/// A system that can't wait for events now isn't asked again at full speed.
constexpr milliseconds kPauseAfterFailure{10};

}  // namespace

EventLoop::EventLoop(std::size_t handles)
    : reactor_(CQXBASE::platform::sockets::MakeServerReactor(handles)) {
    if (reactor_ == nullptr || wakeup_.Handle() == ACE_INVALID_HANDLE ||
        reactor_->register_handler(this, ACE_Event_Handler::READ_MASK) == -1) {
        throw OperatorError("the system offers no way to watch that many connections");
    }
}

EventLoop::~EventLoop() {
    reactor_->remove_handler(this, ACE_Event_Handler::READ_MASK | ACE_Event_Handler::DONT_CALL);
}

void EventLoop::Post(Task task) {
    Tasks one;
    one.push_back(std::move(task));
    Post(one);
}

void EventLoop::Post(Tasks& tasks) noexcept {
    bool first = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        first = posted_.empty();
        posted_.splice(posted_.end(), tasks);
    }
    if (first) {
        wakeup_.Signal();
    }
}

void EventLoop::BindToThisThread() {
    reactor_->owner(ACE_Thread::self());
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
    if (reactor_->handle_events(timeout) == -1 && errno != EINTR) {
        std::this_thread::sleep_for(kPauseAfterFailure);
    }
    RunPosted();
    RunDue();
}

int EventLoop::handle_input(ACE_HANDLE) {
    wakeup_.Clear();  // before RunPosted looks for tasks
    return 0;
}

void EventLoop::RunPosted() {
    Tasks tasks;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        tasks.swap(posted_);
    }
    for (const Task& each : tasks) {
        try {
            each();
        } catch (const std::exception& e) {
            LogError("a task of the event loop failed: ", e.what());
        }
    }
}

void EventLoop::RunDue() {
    while (!timed_.empty() && timed_.begin()->first <= SteadyNow()) {
        auto due = timed_.extract(timed_.begin());
        try {
            due.mapped()();
        } catch (const std::bad_alloc&) {
            due.key() = SteadyNow() + kRetryWait;
            timed_.insert(std::move(due));
        }
    }
}

}  // namespace CQXSERVER::network
