// What another thread needs to know of an agent's call to end it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include <qxdb/Cancellation.h>
#include <qxdb/QXProxyInfo.h>
#include <qxdb/QXTlsInfo.h>

namespace CQXDB {

/// Where a request is under way, and for which session.
struct RemoteCall {
    std::wstring host;
    unsigned port = 0;
    QXProxyInfo proxy;
    QXTlsInfo tls;
    std::wstring token;
};

class CancelPoint {
  public:
    /// One work operation of the agent, on the agent's thread.
    class Call {
      public:
        explicit Call(CancelPoint& point);
        /// Waits for a request of Cancel's that is under way, which the next call must not meet.
        ~Call();
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;

      private:
        CancelPoint& point_;
    };

    // By the agent's thread, within a call or outside of any.
    /// For a manager; null outside of a call.
    Cancellation* Local() noexcept { return local_.get(); }
    /// The request goes to its server from now on. False when the call was cancelled before.
    bool GoesOut(RemoteCall remote);

    // By any thread.
    /// Asks again and again until the call under way has ended, or `patience` is over; true when
    /// it has ended.
    bool Cancel(std::chrono::milliseconds patience);

  private:
    bool Ask(std::unique_lock<std::mutex>& lock);

    std::mutex mutex_;
    std::condition_variable changed_;
    std::unique_ptr<Cancellation> local_;  ///< the agent's thread's to change, with the lock
    // Guarded by mutex_:
    std::uint64_t calls_ = 0;
    bool running_ = false;
    bool asking_ = false;  ///< a request to cancel is under way
    std::optional<RemoteCall> remote_;
};

}  // namespace CQXDB
