#include "platform/fault_stacks_posix.h"

#include <csignal>
#include <cstddef>
#include <sys/mman.h>
#include <unistd.h>

#include "platform/fault_stack_reserve_posix.h"

namespace CQXBASE::platform {
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

struct ThreadStacks {
    AlternateStack alternate;
    StackReserve reserve;
};

}  // namespace

void PrepareStacks() noexcept {
    static thread_local const ThreadStacks stacks;
}

}  // namespace CQXBASE::platform
