// The host's way with one signal, while ours stands in its place.
#pragma once

#include <array>
#include <atomic>
#include <csignal>

namespace CQXBASE::platform::faults {

/// Replace and PutBack are called under one lock; Run from handlers on any thread.
class HostAction {
  public:
    constexpr explicit HostAction(int signal) noexcept : signal_(signal) {}

    int signal() const noexcept { return signal_; }

    void Replace(void (*handler)(int, siginfo_t*, void*)) noexcept;
    void PutBack() noexcept;  ///< unless the host has set another one meanwhile

    /// What the host's handler or its default action would have done with the signal.
    void Run(siginfo_t* info, void* context);

  private:
    using Action = struct sigaction;

    bool IsOurs(const Action& action) const noexcept;
    void Learn(const Action& current) noexcept;
    const Action& Target(bool calledByHost) const noexcept;
    void Call(const Action& action, siginfo_t* info, void* context);

    std::atomic<const Action*> host_{nullptr};
    /// What ours stood on when the host set a handler over it, which may call ours.
    std::atomic<const Action*> beneath_{nullptr};
    // What the pointers above point to; a slot is used again after as many changes by the host.
    std::array<Action, 16> kept_{};
    std::size_t keptCount_ = 0;
    Action ours_{};
    int signal_;
    std::atomic<bool> installed_{false};
};

}  // namespace CQXBASE::platform::faults
