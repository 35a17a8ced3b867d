#include "agent/exchange_turn.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <new>
#include <system_error>

#include "agent/lock_of.h"

namespace CQXDB {
namespace {

/// Both also change without the mutex, which can fail; who waits looks at them with it.
std::atomic<bool> concurrent{false};
std::atomic<unsigned> underWay{0};  ///< threads with an exchange

thread_local unsigned depth = 0;  ///< exchanges that this thread is in, one within the other

struct Queue {
    std::mutex mutex;
    std::condition_variable changed;
};

/// Never destroyed: threads may wait beyond the end of main, and the first exchange may come before
/// its beginning.
Queue& TheQueue() noexcept {
    alignas(Queue) static unsigned char memory[sizeof(Queue)];
    static auto* const queue = new (memory) Queue;
    return *queue;
}

/// Whoever looked before the change waits by then and hears of it.
Queue& AfterChange() noexcept {
    Queue& queue = TheQueue();
    try {
        const std::lock_guard<std::mutex> lock(queue.mutex);
    } catch (const std::system_error&) {
        return queue;
    }
    return queue;
}

void Wait() {
    Queue& queue = TheQueue();
    std::unique_lock<std::mutex> lock = LockOf(queue.mutex);
    queue.changed.wait(lock, [] { return concurrent || underWay == 0; });
    ++underWay;
}

}  // namespace

ExchangeTurn::ExchangeTurn() {
    if (depth == 0) {
        Wait();
    }
    ++depth;
}

ExchangeTurn::~ExchangeTurn() {
    if (--depth == 0 && --underWay == 0) {
        AfterChange().changed.notify_one();
    }
}

void ExchangeTurn::AllowConcurrent(bool allow) noexcept {
    concurrent = allow;
    AfterChange().changed.notify_all();
}

}  // namespace CQXDB
