#include "platform/faults/thread_windows.h"

#include <new>

namespace CQXBASE::platform::faults {
namespace {

void CALLBACK Free(void* thread) {
    delete static_cast<ThreadFaults*>(thread);
}

// Not thread_local: touching that may allocate, and the handler runs on every thread of the
// process.
class ThreadSlot {
  public:
    ThreadSlot() noexcept : index_(FlsAlloc(Free)) {}
    ~ThreadSlot() { FlsFree(index_); }
    ThreadSlot(const ThreadSlot&) = delete;
    ThreadSlot& operator=(const ThreadSlot&) = delete;

    ThreadFaults* Get() const noexcept { return static_cast<ThreadFaults*>(FlsGetValue(index_)); }
    bool Set(ThreadFaults* thread) const noexcept { return FlsSetValue(index_, thread) != FALSE; }

  private:
    DWORD index_;
};

const ThreadSlot& Slot() noexcept {
    static const ThreadSlot slot;
    return slot;
}

/// Room for unwinding after an overflow.
void ReserveStack() noexcept {
    ULONG bytes = 64 * 1024;
    SetThreadStackGuarantee(&bytes);
}

ThreadFaults* MakeThread() noexcept {
    auto* thread = new (std::nothrow) ThreadFaults;
    if (thread == nullptr || !Slot().Set(thread)) {
        delete thread;
        return nullptr;
    }
    ReserveStack();
    return thread;
}

}  // namespace

ThreadFaults* ExistingThread() noexcept {
    const LastErrorKept kept;
    return Slot().Get();
}

ThreadFaults* CurrentThread() noexcept {
    ThreadFaults* thread = ExistingThread();
    const LastErrorKept kept;
    return thread != nullptr ? thread : MakeThread();
}

}  // namespace CQXBASE::platform::faults
