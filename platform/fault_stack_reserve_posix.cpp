#include "platform/fault_stack_reserve_posix.h"

#include <cerrno>
#include <csignal>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/fault_stacks_posix.h"
#include "platform/fault_thread_posix.h"

namespace CQXBASE::platform {
namespace {

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

}  // namespace

StackReserve::StackReserve() noexcept {
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

StackReserve::~StackReserve() {
    Stack& stack = CurrentThread().stack;
    if (stack.reserve == Stack::Reserve::Closed) {
        OpenStackReserve();
    }
    stack.reserve = Stack::Reserve::None;
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

}  // namespace CQXBASE::platform
