// The reactor's thread: socket events, work handed in by other threads, and points in time.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include <ace/Event_Handler.h>

#include "server/clock.h"

namespace CQXSERVER {

class EventLoop : private ACE_Event_Handler {
  public:
    using Task = std::function<void()>;

    /// Watches sockets numbered below `handles`. Throws OperatorError.
    explicit EventLoop(std::size_t handles);
    ~EventLoop() override;
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// Runs `task` on the loop's thread, soon. From any thread.
    void Post(Task task);

    /// Makes the calling thread the loop's; until then the constructing thread is.
    void BindToThisThread();

    // The rest is for the loop's thread.
    ACE_Reactor& Reactor() noexcept { return *reactor_; }
    /// Runs `task` once at `when`, of the steady clock; once more later when it throws
    /// std::bad_alloc.
    void At(TimePoint when, Task task);
    /// Waits for the next event, task or point in time, and handles what is there.
    void RunOnce();

  private:
    int handle_exception(ACE_HANDLE) override;
    void RunDue();

    std::unique_ptr<ACE_Reactor> reactor_;
    std::multimap<TimePoint, Task> timed_;
    std::mutex mutex_;
    std::vector<Task> posted_;  ///< guarded by mutex_
};

}  // namespace CQXSERVER
