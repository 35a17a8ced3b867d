// The reactor's thread: socket events, work handed in by other threads, and points in time.
#pragma once

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>

#include <ace/Event_Handler.h>

#include "platform/sockets/wakeup.h"
#include "server/clock.h"

namespace CQXSERVER::network {

class EventLoop : private ACE_Event_Handler {
  public:
    using Task = std::function<void()>;
    using Tasks = std::list<Task>;

    /// Watches sockets numbered below `handles`. Throws OperatorError.
    explicit EventLoop(std::size_t handles);
    ~EventLoop() override;
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// Runs `task` on the loop's thread, soon. From any thread.
    void Post(Task task);
    /// The same for each of `tasks`, and leaves it empty. Needs no memory, so that what was
    /// prepared in time can't fail to be told.
    void Post(Tasks& tasks) noexcept;

    /// Makes the calling thread the loop's; until then the constructing thread is.
    void BindToThisThread();

    /// Has RunOnce return at once. From any thread.
    void Nudge() noexcept { wakeup_.Signal(); }

    // The rest is for the loop's thread.
    ACE_Reactor& Reactor() noexcept { return *reactor_; }
    /// Runs `task` once at `when`, of the steady clock; once more later when it throws
    /// std::bad_alloc.
    void At(TimePoint when, Task task);
    /// Waits for the next event, task or point in time, and handles what is there.
    void RunOnce();

  private:
    ACE_HANDLE get_handle() const override { return wakeup_.Handle(); }
    int handle_input(ACE_HANDLE) override;
    void RunPosted();
    void RunDue();

    std::unique_ptr<ACE_Reactor> reactor_;
    std::multimap<TimePoint, Task> timed_;
    CQXBASE::platform::sockets::Wakeup wakeup_;
    std::mutex mutex_;
    Tasks posted_;  ///< guarded by mutex_
};

}  // namespace CQXSERVER::network
