#include "platform/faults/stacks_posix.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/faults/thread_posix.h"

namespace CQXBASE::platform::faults {
namespace {

// Room to unwind; the pages cost memory once a fault has touched them.
constexpr std::size_t kStackBytes = 256 * 1024;
constexpr std::size_t kSufficientBytes = 64 * 1024;

class AlternateStack {
  public:
    AlternateStack() noexcept {
        sigaltstack(nullptr, &before_);
        if ((before_.ss_flags & SS_DISABLE) != 0 || before_.ss_size < kSufficientBytes) {
            Install();
        }
    }
    ~AlternateStack() {
        if (memory_ == MAP_FAILED) {
            return;
        }
        stack_t current{};
        sigaltstack(nullptr, &current);
        if (current.ss_sp == Bottom()) {
            sigaltstack(&before_, nullptr);
        }
        munmap(memory_, kStackBytes);
    }
    AlternateStack(const AlternateStack&) = delete;
    AlternateStack& operator=(const AlternateStack&) = delete;

  private:
    static std::size_t GuardBytes() { return static_cast<std::size_t>(sysconf(_SC_PAGESIZE)); }
    void* Bottom() const { return static_cast<char*>(memory_) + GuardBytes(); }

    void Install() noexcept {
        memory_ = mmap(nullptr, kStackBytes, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK | MAP_NORESERVE, -1, 0);
        if (memory_ == MAP_FAILED) {
            return;
        }
        mprotect(memory_, GuardBytes(), PROT_NONE);
        stack_t stack{};
        stack.ss_sp = Bottom();
        stack.ss_size = kStackBytes - GuardBytes();
        sigaltstack(&stack, nullptr);
    }

    void* memory_ = MAP_FAILED;
    stack_t before_{};
};

constexpr std::size_t kReserveBytes = 64 * 1024;
constexpr std::size_t kLeastStackBytes = 8 * kReserveBytes;  // a smaller stack has none to spare

using Stack = ThreadFaults::Stack;

bool IsFirstThread() {
    return gettid() == getpid();
}

void* Pointer(std::uintptr_t address) {
    return reinterpret_cast<void*>(address);  // NOLINT(performance-no-int-to-ptr)
}

/// How far the calling function is from the reserve.
bool IsFarAbove(const Stack& stack) {
    const char here = 0;
    return reinterpret_cast<std::uintptr_t>(&here) > stack.end + kReserveBytes;
}

/// The kernel reads the address before it refuses the operation.
bool IsReadable(std::uintptr_t address) {
    constexpr int noOperation = -1;
    return syscall(SYS_rt_sigprocmask, noOperation, address, nullptr, sizeof(std::uint64_t)) == 0 ||
           errno != EFAULT;
}

bool Protect(const Stack& stack, int access) {
    return mprotect(Pointer(stack.end - kReserveBytes), kReserveBytes, access) == 0;
}

bool MoveLimit(std::ptrdiff_t by) {
    rlimit limit{};
    if (getrlimit(RLIMIT_STACK, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) {
        return false;
    }
    limit.rlim_cur += static_cast<rlim_t>(by);
    return setrlimit(RLIMIT_STACK, &limit) == 0;
}

bool Open(const Stack& stack) {
    return IsFirstThread() ? MoveLimit(kReserveBytes) : Protect(stack, PROT_READ | PROT_WRITE);
}

bool Close(const Stack& stack) {
    if (!IsFirstThread()) {
        return Protect(stack, PROT_NONE);
    }
    // A stack that has grown into the reserve doesn't shrink by itself.
    munmap(Pointer(stack.end - kReserveBytes), kReserveBytes);
    return MoveLimit(-static_cast<std::ptrdiff_t>(kReserveBytes));
}

Stack FindStack() {
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0) {
        return {};
    }
    void* end = nullptr;
    std::size_t size = 0;
    pthread_attr_getstack(&attributes, &end, &size);
    pthread_attr_destroy(&attributes);
    return {reinterpret_cast<std::uintptr_t>(end), size, Stack::Reserve::None};
}

/// The far end of the stack, kept for the time after an overflow, when the destructors next to it
/// would overflow again and end the process. The first thread's stack is let grow beyond its limit
/// for that time; others have the reserve closed to them from the start.
class StackReserve {
  public:
    StackReserve() noexcept {
        Stack& stack = CurrentThread().stack;
        stack = FindStack();
        if (IsFirstThread()) {
            stack.reserve = Stack::Reserve::Closed;
            return;
        }
        // A host that guards the far end itself keeps it.
        if (stack.size >= kLeastStackBytes && IsReadable(stack.end)) {
            stack.end += kReserveBytes;
            const bool closed = IsFarAbove(stack) && Protect(stack, PROT_NONE);
            stack.reserve = closed ? Stack::Reserve::Closed : Stack::Reserve::None;
        }
    }
    ~StackReserve() {
        Stack& stack = CurrentThread().stack;
        if (stack.reserve == Stack::Reserve::Closed) {
            OpenStackReserve();
        }
        stack.reserve = Stack::Reserve::None;
    }
    StackReserve(const StackReserve&) = delete;
    StackReserve& operator=(const StackReserve&) = delete;
};

struct ThreadStacks {
    AlternateStack alternate;
    StackReserve reserve;
};

}  // namespace

void PrepareStacks() noexcept {
    static thread_local const ThreadStacks stacks;
}

void OpenStackReserve() noexcept {
    Stack& stack = CurrentThread().stack;
    if (stack.reserve == Stack::Reserve::Closed && Open(stack)) {
        stack.reserve = Stack::Reserve::Open;
    }
}

void CloseStackReserve() noexcept {
    Stack& stack = CurrentThread().stack;
    if (stack.reserve == Stack::Reserve::Open && IsFarAbove(stack) && Close(stack)) {
        stack.reserve = Stack::Reserve::Closed;
    }
}

}  // namespace CQXBASE::platform::faults
